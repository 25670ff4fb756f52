// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <netinet/in.h>

#include <chrono>
#include <optional>
#include <string>

#include "hasupport/io/unique_fd.h"
#include "hasupport/peer/frame.h"

namespace koraha::test {

/// A client of a TCP port on the loopback interface, honest or not. Waits for at most 20 seconds
/// where it waits.
class StreamClient {
  public:
    struct From {
        std::string address = "127.0.0.1";
        int hops = 255;
    };

    StreamClient() : StreamClient(From()) {}
    explicit StreamClient(const From& from, const std::string& to = "127.0.0.1",
                          std::chrono::milliseconds patience = std::chrono::seconds(20));

    bool isConnected() const { return static_cast<bool>(fd_); }
    bool send(const std::string& bytes) const;
    /// The next frame; nothing when the server closed the connection instead.
    std::optional<KORA::HA::Daemon::support::Frame> receive() const;
    /// True when the server closes the connection, whatever it says before.
    bool isClosed() const;

  private:
    KORA::HA::Daemon::support::UniqueFd fd_;
};

}  // namespace koraha::test
