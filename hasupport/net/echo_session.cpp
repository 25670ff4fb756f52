// SPDX-License-Identifier: Apache-2.0
#include "hasupport/net/echo_session.h"

#include <poll.h>
#include <sys/random.h>

#include <array>
#include <cstring>

namespace KORA::HA::Daemon::support {
namespace {

/// A new id and cookie. Should the kernel have no random numbers yet, the clock makes them differ
/// from probe to probe, which is what they are for.
Echo newEcho() {
    struct {
        std::uint64_t cookie;
        std::uint16_t id;
    } random{static_cast<std::uint64_t>(Moment::now().wall.count()), 1};
    [[maybe_unused]] const ssize_t filled = ::getrandom(&random, sizeof random, GRND_NONBLOCK);
    return Echo{random.id, 0, random.cookie};
}

}  // namespace

EchoSession::EchoSession(const LinkAddresses& link, bool stamped)
    : link_(link), stamped_(stamped), echo_(newEcho()) {}

bool EchoSession::open() {
    if (socket_) {
        return true;
    }
    const auto route = planRoute(link_, problem_);
    if (route) {
        problem_ = {};
        socket_ = EchoSocket::open(*route, stamped_, problem_);
    }
    return socket_.has_value();
}

bool EchoSession::send(std::uint16_t sequence) {
    if (!open()) {
        return false;
    }
    echo_.sequence = sequence;
    if (!socket_->send(echo_, problem_)) {
        socket_.reset();
        return false;
    }
    problem_ = {};
    return true;
}

std::optional<EchoReply> EchoSession::receive(const Deadline& deadline) {
    if (socket_) {
        return socket_->receive(echo_, deadline);
    }
    while (!deadline.passed()) {
        ::poll(nullptr, 0, deadline.pollTimeout());
    }
    return std::nullopt;
}

}  // namespace KORA::HA::Daemon::support
