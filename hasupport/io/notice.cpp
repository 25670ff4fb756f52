// SPDX-License-Identifier: Apache-2.0
#include "hasupport/io/notice.h"

#include <syslog.h>

#include <algorithm>
#include <array>
#include <functional>

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t noticeLimit = 512;

char printable(char c) {
    return static_cast<unsigned char>(c) < 0x20U || c == '\x7f' ? '?' : c;
}

}  // namespace

// In fixed memory: a shortage of it is among what is said here.
void notify(std::string_view text) {
    std::array<char, noticeLimit + 1> line{};
    text = text.substr(0, noticeLimit);
    std::transform(text.begin(), text.end(), line.begin(), printable);
    ::syslog(LOG_ERR, "libkorahadaemon: %s", line.data());
}

void Notice::raise(std::string_view text) {
    const std::size_t fingerprint = std::hash<std::string_view>{}(text) | 1U;
    if (fingerprint_.exchange(fingerprint) != fingerprint) {
        notify(text);
    }
}

void Notice::clear(std::string_view recovered) {
    if (fingerprint_.exchange(0) != 0 && !recovered.empty()) {
        notify(recovered);
    }
}

}  // namespace KORA::HA::Daemon::support
