// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket/client_connection.h"

#include <poll.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace KORA::HA::Daemon::support {
namespace {

constexpr int requestsPerStep = 16;  // so that a client with many does not keep the others waiting

}  // namespace

ClientConnection::ClientConnection(UniqueFd fd, SteadyClock::time_point now)
    : fd_(std::move(fd)), toldAt_(now), since_(now), lastRequest_(now) {}

short ClientConnection::events() const {
    if (!replies_.isEmpty()) {
        return POLLOUT;
    }
    return ended_ || refused_ ? short{0} : short{POLLIN};
}

std::optional<SteadyClock::time_point> ClientConnection::deadline(
    SteadyClock::duration patience) const {
    const auto& since = unreadSince_ ? unreadSince_ : halfLineSince_;
    return since ? std::optional(*since + patience) : std::nullopt;
}

bool ClientConnection::hasRequest() const {
    return !refused_ && (input_.hasLine() || (ended_ && !input_.isEmpty()));
}

void ClientConnection::serve(short revents, RequestHandler& handler, SteadyClock::time_point now) {
    if ((revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) {
        alive_ = false;  // both directions are gone: nobody would get an answer
        return;
    }
    if ((revents & POLLIN) != 0) {
        receive(now);
    }
    send(now);
    handleLines(handler, now);
    settle(now);
}

void ClientConnection::receive(SteadyClock::time_point now) {
    switch (input_.receive(fd_.get())) {
        case RequestLines::Received::some:
            halfLineSince_ = halfLineSince_ ? halfLineSince_ : now;
            break;
        case RequestLines::Received::ended:
            ended_ = true;
            break;
        case RequestLines::Received::broken:
            alive_ = false;
            break;
        case RequestLines::Received::nothing:
            break;
    }
}

std::optional<std::string_view> ClientConnection::nextLine() {
    if (refused_) {
        return std::nullopt;
    }
    auto line = input_.takeLine();
    return line || !ended_ ? line : input_.takeRest();
}

void ClientConnection::handleLines(RequestHandler& handler, SteadyClock::time_point now) {
    for (int count = 0; alive_ && replies_.isEmpty() && count < requestsPerStep; ++count) {
        const auto line = nextLine();
        if (!line) {
            refuseEndlessLine();
            send(now);
            return;
        }
        lastRequest_ = now;
        heard_ = true;
        halfLineSince_.reset();
        handler.handle(*this, *line);
        send(now);
    }
}

void ClientConnection::refuseEndlessLine() {
    static constexpr const char* text = "{\"version\":1,\"error\":\"request line too long\"}\n";
    if (!refused_ && input_.isFull()) {
        refused_ = true;
        replies_.put(std::make_shared<const std::string>(text));
    }
}

void ClientConnection::send(SteadyClock::time_point now) {
    if (!alive_ || replies_.isEmpty()) {
        return;
    }
    switch (replies_.send(fd_.get())) {
        case ReplyQueue::Sent::all:
            unreadSince_.reset();
            break;
        case ReplyQueue::Sent::some:
            unreadSince_ = now;
            break;
        case ReplyQueue::Sent::none:
            unreadSince_ = unreadSince_ ? unreadSince_ : now;
            break;
        case ReplyQueue::Sent::broken:
            alive_ = false;
            break;
    }
}

/// Works out what the client owes now, and whether there is anything left to do for it.
void ClientConnection::settle(SteadyClock::time_point now) {
    if (input_.isEmpty() || hasRequest()) {
        halfLineSince_.reset();
    } else {
        halfLineSince_ = halfLineSince_ ? halfLineSince_ : now;
    }
    const bool over = refused_ || (ended_ && !watching_ && !hasRequest());
    if (over && replies_.isEmpty()) {
        alive_ = false;
    }
}

void ClientConnection::expire(SteadyClock::duration patience, SteadyClock::time_point now) {
    const auto due = deadline(patience);
    alive_ = alive_ && (!due || now < *due);
}

void ClientConnection::watch(std::uint64_t change, SteadyClock::time_point now) {
    watching_ = true;
    changeTold_ = change;
    toldAt_ = now;
}

bool ClientConnection::isDue(std::uint64_t change, SteadyClock::duration signOfLife,
                             SteadyClock::time_point now) const {
    return watching_ && (change != changeTold_ || now - toldAt_ >= signOfLife);
}

void ClientConnection::tell(const SharedLine& line, std::uint64_t change,
                            SteadyClock::time_point now) {
    if (!alive_ || !replies_.isEmpty()) {
        return;
    }
    watch(change, now);
    replies_.put(line);
    send(now);
}

}  // namespace KORA::HA::Daemon::support
