// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <string_view>
#include <thread>

#include "hasupport/io/unique_fd.h"
#include "tests/support/scratch_dir.h"

namespace koraha::test {

/// A status socket in a scratch directory. What each client meets is up to the test.
class StatusServer {
  public:
    using Behaviour = std::function<void(int client)>;

    /// Clients are let in one by one; the connection is closed when the behaviour returns.
    explicit StatusServer(Behaviour behaviour);
    /// A server that answers each request of each client with this line.
    static Behaviour saying(const std::string& line);
    ~StatusServer();
    StatusServer(const StatusServer&) = delete;
    StatusServer& operator=(const StatusServer&) = delete;

    std::string path() const { return scratch_.path("socket"); }

  private:
    void serve();

    ScratchDir scratch_;
    Behaviour behaviour_;
    KORA::HA::Daemon::support::UniqueFd listener_;
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

/// A socket that is bound and does not listen yet.
KORA::HA::Daemon::support::UniqueFd boundSocket(const std::string& path);

/// Waits for one request line; its text, or nothing when the client left.
std::string requestOf(int client);

/// Sends everything that the client takes.
void say(int client, std::string_view bytes);

/// Returns when the client has left.
void awaitLeave(int client);

}  // namespace koraha::test
