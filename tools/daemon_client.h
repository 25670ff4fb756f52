// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace korahamonctl {

/// "3 s", "0.75 s".
std::string secondsText(int milliseconds);

/// A connection to the daemon's status socket; believes only a server of root. Used by one thread.
class DaemonClient {
  public:
    /// Connects, within `timeoutMs` (a local socket whose queue is full makes its clients wait);
    /// what went wrong is in `problem`, empty when nothing did.
    DaemonClient(const std::string& path, std::string& problem, int timeoutMs = 3000);
    ~DaemonClient();
    DaemonClient(const DaemonClient&) = delete;
    DaemonClient& operator=(const DaemonClient&) = delete;

    /// Whether there is no connection since this user may not ask.
    bool forbidden() const { return forbidden_; }

    /// Sends one request line.
    bool send(const std::string& line) const;
    /// The next line without its end; nothing when none came within `timeoutMs`, or the daemon
    /// left.
    std::optional<std::string> receive(int timeoutMs);

    // For who waits for other things too:
    int descriptor() const { return fd_; }
    /// Takes what has come, without waiting; false when the daemon has left or says too much.
    bool takeWhatCame();
    /// The next complete line of what was taken.
    std::optional<std::string> nextLine();

  private:
    std::string open(const std::string& path, int timeoutMs);

    int fd_ = -1;
    bool forbidden_ = false;
    std::string buffer_;
    std::size_t searched_ = 0;  // so much of the buffer holds no end of a line
};

}  // namespace korahamonctl
