// SPDX-License-Identifier: Apache-2.0
#include "scripted_peer.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <chrono>

namespace koraha::test {

using namespace KORA::HA::Daemon::support;  // NOLINT(google-build-using-namespace)

namespace {

constexpr int patienceMs = 20'000;

bool readable(int fd, int timeoutMs) {
    pollfd entry{fd, POLLIN, 0};
    return ::poll(&entry, 1, timeoutMs) > 0;
}

UniqueFd listenOnLoopback() {
    UniqueFd fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int one = 1;
    const int hops = 255;
    ::setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    ::setsockopt(fd.get(), IPPROTO_IP, IP_TTL, &hops, sizeof hops);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(8909);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(::listen(fd.get(), 16), 0);
    return fd;
}

}  // namespace

std::optional<Frame> PeerSide::receive() {
    std::string received;
    std::array<char, 4096> chunk{};
    for (;;) {
        FrameScan scan = scanFrame(received);
        if (scan.state == FrameScan::State::complete) {
            return scan.frame;
        }
        const ssize_t got =
            readable(fd_, patienceMs) ? ::recv(fd_, chunk.data(), chunk.size(), 0) : 0;
        if (got <= 0 || scan.state == FrameScan::State::broken) {
            return std::nullopt;
        }
        received.append(chunk.data(), static_cast<std::size_t>(got));
    }
}

bool PeerSide::send(const std::string& bytes) const {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t now = ::send(fd_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (now <= 0) {
            return false;
        }
        sent += static_cast<std::size_t>(now);
    }
    return true;
}

void PeerSide::drip(const std::string& bytes, std::chrono::milliseconds pause) const {
    for (const char byte : bytes) {
        std::this_thread::sleep_for(pause);
        if (!send(std::string(1, byte))) {
            return;
        }
    }
}

void PeerSide::holdOn() {
    std::array<char, 4096> chunk{};
    while (readable(fd_, patienceMs) && ::recv(fd_, chunk.data(), chunk.size(), 0) > 0) {
    }
}

std::optional<Session> PeerSide::challenge(const PeerKey* key) {
    const auto frame = receive();
    const auto hello = frame ? decodeHello(frame->body) : std::nullopt;
    if (!hello) {
        return std::nullopt;
    }
    Challenge challenge{freshNonce(), {}};
    if (key != nullptr) {
        challenge.key = key->id;
    }
    send(encodeFrame(FrameType::challenge, encodeChallenge(challenge)));
    return Session{hello->nonce, challenge.nonce, key};
}

void PeerSide::answer(const std::string& payload, const PeerKey* key) {
    const auto session = challenge(key);
    const auto request = session ? receive() : std::nullopt;
    if (request && openBody(*session, FrameType::request, request->body)) {
        send(encodeFrame(FrameType::reply, sealBody(*session, FrameType::reply, payload)));
    }
}

ScriptedPeer::ScriptedPeer(Script script)
    : script_(std::move(script)), listener_(listenOnLoopback()) {
    thread_ = std::thread([this] { run(); });
}

ScriptedPeer::~ScriptedPeer() {
    stop_ = true;
    thread_.join();
}

void ScriptedPeer::run() {
    while (!stop_) {
        if (!readable(listener_.get(), 10)) {
            continue;
        }
        const UniqueFd fd(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (fd) {
            ++connections_;
            PeerSide side(fd.get());
            script_(side);
        }
    }
}

}  // namespace koraha::test
