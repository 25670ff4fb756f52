# SPDX-License-Identifier: Apache-2.0
# Shared by the scripts: progress lines, and installing what is missing.
# shellcheck shell=bash

started=$SECONDS
PATH=$PATH:/usr/sbin:/sbin # an ordinary user's lacks them: modprobe, depmod, mke2fs, ip, drbdadm

# say TEXT: a progress line with the time since the script started.
say() {
    printf '[%3ds] %s\n' $((SECONDS - started)) "$*"
}

# install_missing PACKAGE...: installs what is missing with apt; without root it says what to run.
install_missing() {
    local package missing=()
    for package in "$@"; do
        dpkg-query -W -f '${Status}' "$package" 2> /dev/null | grep -q 'ok installed' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    if [ "$(id -u)" != 0 ]; then
        echo "Packages are missing. Run:" >&2
        echo "  sudo apt-get install --no-install-recommends ${missing[*]}" >&2
        exit 1
    fi
    say "installing ${missing[*]}"
    apt-get update -qq
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" \
        > /dev/null
}

# shellcheck disable=SC2034 # used by the scripts that source this file
build_packages=(g++ cmake ninja-build pkg-config libboost-thread-dev libboost-chrono-dev
    libboost-system-dev libjsoncpp-dev libsodium-dev libncurses-dev libcli11-dev
    prometheus-cpp-dev libcpp-httplib-dev nlohmann-json3-dev libgtest-dev libgmock-dev
    python3 iproute2 iputils-ping util-linux procps xz-utils)

# build PRESET [TARGET...]: configures once and builds; a failure shows the compiler's words.
build() {
    local preset=$1 log
    shift
    log=build/$preset.log
    mkdir -p build
    if ! { cmake --preset "$preset" && cmake --build --preset "$preset" -j "$(nproc)" \
        ${1:+--target "$@"}; } > "$log" 2>&1; then
        grep -E 'error|Error|FAILED' -A 5 "$log" | head -n 60 >&2
        echo "The build of preset $preset failed; its whole log is $log" >&2
        return 1
    fi
}
