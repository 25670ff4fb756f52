// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket/request_lines.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

namespace KORA::HA::Daemon::support {

RequestLines::Received RequestLines::receive(int fd) {
    compact();
    if (end_ == bytes_.size()) {
        return Received::nothing;
    }
    ssize_t got = -1;
    do {
        got = ::recv(fd, bytes_.data() + end_, bytes_.size() - end_, MSG_DONTWAIT);
    } while (got < 0 && errno == EINTR);
    if (got == 0) {
        return Received::ended;
    }
    if (got < 0) {
        return errno == EAGAIN || errno == EWOULDBLOCK ? Received::nothing : Received::broken;
    }
    end_ += static_cast<std::size_t>(got);
    return Received::some;
}

std::optional<std::string_view> RequestLines::takeLine() {
    const std::string_view text = pending();
    const auto length = text.find('\n');
    if (length == std::string_view::npos) {
        return std::nullopt;
    }
    begin_ += length + 1;
    return text.substr(0, length);
}

std::optional<std::string_view> RequestLines::takeRest() {
    if (isEmpty()) {
        return std::nullopt;
    }
    const std::string_view text = pending();
    begin_ = end_;
    return text;
}

bool RequestLines::hasLine() const {
    return pending().find('\n') != std::string_view::npos;
}

void RequestLines::compact() {
    std::copy(bytes_.data() + begin_, bytes_.data() + end_, bytes_.data());
    end_ -= begin_;
    begin_ = 0;
}

}  // namespace KORA::HA::Daemon::support
