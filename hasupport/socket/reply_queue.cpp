// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket/reply_queue.h"

#include <sys/socket.h>

#include <cerrno>
#include <utility>

namespace KORA::HA::Daemon::support {
namespace {

constexpr int sendsPerCall = 16;  // so that a long reply does not keep the others waiting

}  // namespace

void ReplyQueue::put(SharedLine line) {
    line_ = std::move(line);
    at_ = 0;
}

void ReplyQueue::put(HistoryReply history) {
    history_.emplace(std::move(history));
    refill();
}

bool ReplyQueue::refill() {
    line_.reset();
    if (history_) {
        std::string piece = history_->next();
        if (piece.empty()) {
            history_.reset();
        } else {
            put(std::make_shared<const std::string>(std::move(piece)));
        }
    }
    return !isEmpty();
}

ReplyQueue::Sent ReplyQueue::send(int fd) {
    Sent result = Sent::none;
    for (int count = 0; count < sendsPerCall && !isEmpty(); ++count) {
        const ssize_t sent =
            ::send(fd, line_->data() + at_, line_->size() - at_, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0) {
            if (errno == EINTR) {
                continue;
            }
            return errno == EAGAIN || errno == EWOULDBLOCK ? result : Sent::broken;
        }
        at_ += static_cast<std::size_t>(sent);
        result = Sent::some;
        if (at_ == line_->size() && !refill()) {
            return Sent::all;
        }
    }
    return result;
}

}  // namespace KORA::HA::Daemon::support
