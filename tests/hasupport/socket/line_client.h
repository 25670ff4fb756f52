// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "hasupport/io/unique_fd.h"

namespace koraha::test {

/// The line, parsed; null when it is not JSON.
Json::Value parseLine(const std::string& line);

/// A client on a local stream socket, as a well-behaved or a hostile program would be. Waits for at
/// most 20 seconds where it waits.
class LineClient {
  public:
    explicit LineClient(const std::string& path);

    bool isConnected() const { return static_cast<bool>(fd_); }
    int fd() const { return fd_.get(); }

    bool send(std::string_view bytes) const;
    /// The next line without its end; nothing when the server closed the connection.
    std::optional<std::string> line();
    /// The next line, parsed; null when there is none.
    Json::Value json();
    Json::Value ask(std::string_view request);
    /// True when the server closes the connection.
    bool isClosed();
    /// True when something to read comes within the span.
    bool hears(std::chrono::milliseconds span) const;
    void endSending() const;
    void leave() { fd_.reset(); }

  private:
    KORA::HA::Daemon::support::UniqueFd fd_;
    std::string received_;
};

}  // namespace koraha::test
