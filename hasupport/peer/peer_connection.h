// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "hasupport/io/deadline.h"
#include "hasupport/io/unique_fd.h"
#include "hasupport/peer/frame.h"

namespace KORA::HA::Daemon::support {

/// Answers a request's payload; `authenticated` says whether it proved itself.
using PeerRequestHandler = std::function<std::string(std::string_view payload, bool authenticated)>;

/// The server's side of one exchange, on a non-blocking socket. It has 1 second to finish; a
/// request that is read later is refused, however long it has lain there. Used by one thread;
/// nothing here blocks.
class PeerConnection {
  public:
    PeerConnection(UniqueFd fd, PeerKeys keys, SteadyClock::time_point now);

    int fd() const { return fd_.get(); }
    short events() const;
    SteadyClock::time_point endsAt() const { return endsAt_; }
    bool done() const { return done_; }
    bool authenticated() const { return authenticated_; }
    /// How far the client has got; whoever got least far makes room for others first.
    int progress() const;
    /// Why the client was refused; empty while it was not.
    const std::string& refusal() const { return refusal_; }

    /// Does what can be done now.
    void serve(const PeerRequestHandler& handler);

  private:
    enum class Awaits : std::uint8_t { hello, request, nothing };

    void receive(const PeerRequestHandler& handler);
    void handle(const Frame& frame, const PeerRequestHandler& handler);
    void onHello(const std::string& body);
    void onRequest(const std::string& body, const PeerRequestHandler& handler);
    void answer(FrameType type, std::string_view body);
    void refuse(std::string_view reason);
    void flush();

    UniqueFd fd_;
    PeerKeys keys_;
    Session session_;
    SteadyClock::time_point endsAt_;
    Awaits awaits_ = Awaits::hello;
    std::string received_;
    std::string unsent_;
    std::string refusal_;
    bool authenticated_ = false;
    bool done_ = false;
};

}  // namespace KORA::HA::Daemon::support
