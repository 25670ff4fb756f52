// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "hasupport/io/deadline.h"
#include "hasupport/io/unique_fd.h"
#include "hasupport/net/echo_packet.h"
#include "hasupport/net/ip_address.h"
#include "hasupport/settings/link_addresses.h"

namespace KORA::HA::Daemon::support {

/// Why no echo can be sent. `lasting`: a wrong setting or no right to such a socket, which trying
/// again within the same probe cannot mend; else the state of the link or of the packet filter.
struct EchoProblem {
    bool lasting = false;
    std::string reason;
};

/// Where echoes go, checked.
struct EchoRoute {
    IpAddress local;
    IpAddress remote;
    std::string device;  ///< empty: a peer address of this very host, which is reached through lo
};
std::optional<EchoRoute> planRoute(const LinkAddresses& link, EchoProblem& problem);

/// One moment on both clocks, so that a step of the wall clock between two moments shows.
struct Moment {
    SteadyClock::time_point steady;
    std::chrono::nanoseconds wall{0};  ///< since the epoch

    static Moment now();
};

struct EchoReply {
    std::uint16_t sequence = 0;
    Moment received;                                ///< when this thread got it
    std::optional<std::chrono::nanoseconds> stamp;  ///< when the kernel got it, wall clock
};

/// An ICMP socket connected to the peer, bound to the local address and to the interface: raw where
/// the rights allow it, else datagram. Used by one thread, for one probe.
class EchoSocket {
  public:
    static std::optional<EchoSocket> open(const EchoRoute& route, bool stamped,
                                          EchoProblem& problem);

    /// Sends one request; false with the reason when it did not go out.
    bool send(const Echo& echo, EchoProblem& problem);

    /// Waits for the next reply to an echo with this id and cookie; what is late, foreign or
    /// damaged is passed over. Nothing at the deadline; replies that are there already still count
    /// then, up to a number over all calls: a loop in the network repeats them without end.
    std::optional<EchoReply> receive(const Echo& expected, const Deadline& deadline);

  private:
    EchoSocket(UniqueFd fd, bool raw, const IpAddress& peer);

    std::optional<EchoReply> take(const Echo& expected) const;
    bool matches(const Echo& echo, const Echo& expected) const;

    UniqueFd fd_;
    bool raw_;
    IpAddress peer_;
    int leftWhenLate_;
};

}  // namespace KORA::HA::Daemon::support
