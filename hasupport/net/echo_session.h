// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "hasupport/net/echo_socket.h"

namespace KORA::HA::Daemon::support {

/// The echoes of one probe: one socket, one identifier, one random cookie. The socket is opened at
/// the first send at the latest and, after a send that failed, again at the next one, so that a
/// link that comes back within the probe is used. One thread.
class EchoSession {
  public:
    /// `stamped`: the replies are to carry the kernel's time. That makes the kernel take it for
    /// every packet that the machine receives meanwhile.
    EchoSession(const LinkAddresses& link, bool stamped);

    /// Opens the socket where there is none; done here, it takes none of the first echo's time.
    bool open();
    /// Sends the echo with this sequence number; false when it did not go out.
    bool send(std::uint16_t sequence);
    /// The next reply to any echo of this session; nothing at the deadline, never sooner.
    std::optional<EchoReply> receive(const Deadline& deadline);

    /// No echo will ever go out: `reason()` tells why.
    bool hopeless() const { return problem_.lasting; }
    /// Why the last send failed; empty when it did not.
    const std::string& reason() const { return problem_.reason; }

  private:
    LinkAddresses link_;
    bool stamped_;
    Echo echo_;
    EchoProblem problem_;
    std::optional<EchoSocket> socket_;
};

}  // namespace KORA::HA::Daemon::support
