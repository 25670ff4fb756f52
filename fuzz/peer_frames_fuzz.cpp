// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/peer/frame.cpp without sealBody
// parser: hasupport/peer/peer_connection.cpp without progress
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "fuzz/fuzz_input.h"
#include "hasupport/peer/frame.h"
#include "hasupport/peer/own_greeting.h"
#include "hasupport/peer/peer_connection.h"

using namespace KORA::HA::Daemon::support;
using koraha::fuzz::require;

namespace {

void scan(std::string_view text) {
    const FrameScan found = scanFrame(text);
    if (found.state != FrameScan::State::complete) {
        require((found.state == FrameScan::State::broken) != found.problem.empty());
        return;
    }
    require(encodeFrame(found.frame.type, found.frame.body) == text);
    require(scanFrame(text.substr(0, text.size() - 1)).state == FrameScan::State::incomplete);
}

void decode(std::string_view body) {
    if (const auto hello = decodeHello(body)) {
        require(hello->keys.size() <= 2 && encodeHello(*hello) == body);
    }
    if (const auto challenge = decodeChallenge(body)) {
        require(encodeChallenge(*challenge) == body);
    }
}

PeerKeys keysOf(bool any) {
    PeerKeys keys;
    if (any) {
        keys.keys.push_back(makePeerKey("0123456789abcdef0123456789abcdef"));
    }
    return keys;
}

struct Ends {
    UniqueFd client;
    UniqueFd server;
};

Ends joinedEnds() {
    std::array<int, 2> ends{-1, -1};
    require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) == 0);
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

/// Sends the bytes to the server's side of an exchange, the first `front` of them at once.
void talk(std::string_view bytes, std::size_t front, bool withKey) {
    auto [client, serverEnd] = joinedEnds();
    PeerConnection server(std::move(serverEnd), keysOf(withKey), SteadyClock::now());
    const auto answer = [&](std::string_view, bool authenticated) {
        require(!withKey && !authenticated);  // nobody guesses the authenticator
        return std::string("{}");
    };
    while (!bytes.empty() && !server.done()) {
        require((server.events() & (POLLIN | POLLOUT)) != 0);
        const ssize_t sent = ::send(client.get(), bytes.data(),
                                    std::min(std::max(front, std::size_t{1}), bytes.size()),
                                    MSG_NOSIGNAL | MSG_DONTWAIT);
        require(sent > 0);
        bytes.remove_prefix(static_cast<std::size_t>(sent));
        front = bytes.size();
        for (int steps = 0; steps < 3; ++steps) {
            server.serve(answer);
        }
    }
    client.reset();
    for (int steps = 0; steps < 4 && !server.done(); ++steps) {
        server.serve(answer);
    }
    require(server.done() && !server.authenticated());
}

/// Sends a greeting that ends here, and hangs up before it is answered.
void hangUp(const std::string& greeting) {
    auto [client, serverEnd] = joinedEnds();
    PeerConnection server(std::move(serverEnd), keysOf(false), SteadyClock::now());
    const auto size = static_cast<ssize_t>(greeting.size());
    require(::send(client.get(), greeting.data(), greeting.size(), MSG_NOSIGNAL) == size);
    client.reset();
    server.serve([](std::string_view, bool) { return std::string(); });
    require(server.done() && !server.authenticated());
}

void greet(std::string_view body) {
    if (const auto hello = decodeHello(body)) {
        const std::string greeting = encodeFrame(FrameType::hello, encodeHello(*hello));
        hangUp(greeting);
        const OwnGreeting own(hello->nonce);
        talk(greeting, greeting.size(), true);
    }
}

}  // namespace

// What a peer that has proved nothing can send. The first byte says where the stream is cut.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = koraha::fuzz::textOf(data, size);
    scan(text);
    decode(text);
    greet(text);
    if (size > 0) {
        talk(text.substr(1), data[0], false);
        talk(text.substr(1), data[0], true);
    }
    return 0;
}
