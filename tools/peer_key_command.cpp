// SPDX-License-Identifier: Apache-2.0
#include "tools/peer_key_command.h"

#include <fcntl.h>
#include <sodium.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iomanip>
#include <ostream>

#include "hasupport/io/unique_fd.h"
#include "hasupport/peer/peer_key.h"
#include "tools/visible.h"

namespace korahamonctl {
namespace {

using KORA::HA::Daemon::support::peerKeyBytes;
using KORA::HA::Daemon::support::PeerKeys;
using KORA::HA::Daemon::support::readPeerKeys;
using KORA::HA::Daemon::support::UniqueFd;

constexpr mode_t keyMode = 0600;

int fail(std::ostream& err, const std::string& path) {
    err << visible(path) << ": " << std::strerror(errno) << '\n';
    return 1;
}

bool writeKey(int fd) {
    std::string key(peerKeyBytes, '\0');
    randombytes_buf(key.data(), key.size());
    const bool written =
        ::write(fd, key.data(), key.size()) == static_cast<ssize_t>(key.size()) && ::fsync(fd) == 0;
    sodium_memzero(key.data(), key.size());
    return written;
}

// Never overwrites a key: the other node may hold it already.
int makeKey(const std::string& path, std::ostream& out, std::ostream& err) {
    const UniqueFd fd(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, keyMode));
    if (!fd) {
        return fail(err, path);
    }
    if (!writeKey(fd.get())) {
        const int result = fail(err, path);
        ::unlink(path.c_str());
        return result;
    }
    out << visible(path) << ": made. Copy it to the other node, as root and with mode 0600.\n";
    if (::geteuid() != 0) {
        err << visible(path) << ": the daemon takes a key of root only, so change its owner\n";
    }
    return 0;
}

int commitKey(const std::string& next, const std::string& path, std::ostream& out,
              std::ostream& err) {
    const PeerKeys key = readPeerKeys(next);
    if (!key.usable() || key.keys.empty()) {
        err << visible(key.usable() ? next + ": there is no key to come" : key.problem) << '\n';
        return 1;
    }
    if (std::rename(next.c_str(), path.c_str()) != 0) {
        return fail(err, next);
    }
    out << visible(path) << ": the key to come is in force. Commit it on the other node too.\n";
    return 0;
}

void print(const std::string& label, const std::uint8_t* id, std::size_t size, std::ostream& out) {
    out << label;
    for (std::size_t i = 0; i < size; ++i) {
        out << std::hex << std::setw(2) << std::setfill('0') << unsigned{id[i]};
    }
    out << std::dec << '\n';
}

}  // namespace

int newPeerKey(const PeerKeyOptions& options, std::ostream& out, std::ostream& err) {
    const std::string next = options.path + ".next";
    return options.commit ? commitKey(next, options.path, out, err)
                          : makeKey(options.next ? next : options.path, out, err);
}

int showFingerprint(const PeerKeyOptions& options, std::ostream& out, std::ostream& err) {
    const PeerKeys keys = readPeerKeys(options.path);
    if (!keys.usable()) {
        err << visible(keys.problem) << '\n';
        return 1;
    }
    if (keys.keys.empty()) {
        err << visible(options.path) << ": there is no key\n";
        return 1;
    }
    print("", keys.keys.front().id.data(), keys.keys.front().id.size(), out);
    if (keys.keys.size() > 1) {
        print("to come: ", keys.keys.back().id.data(), keys.keys.back().id.size(), out);
    }
    return 0;
}

}  // namespace korahamonctl
