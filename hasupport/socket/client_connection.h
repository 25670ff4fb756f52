// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "hasupport/io/deadline.h"
#include "hasupport/io/unique_fd.h"
#include "hasupport/socket/client_limits.h"
#include "hasupport/socket/reply_queue.h"
#include "hasupport/socket/request_lines.h"

namespace KORA::HA::Daemon::support {

class ClientConnection;

/// Answers the request lines of connections.
class RequestHandler {
  public:
    virtual ~RequestHandler() = default;
    virtual void handle(ClientConnection& client, std::string_view line) = 0;
};

/// One client: its socket, what it has sent and not got answered, what it has not read yet. Nothing
/// here blocks. Used by one thread.
class ClientConnection {
  public:
    ClientConnection(UniqueFd fd, SteadyClock::time_point now);

    int fd() const { return fd_.get(); }
    short events() const;  ///< what to poll for
    /// When the client has to have gone on, if it owes something.
    std::optional<SteadyClock::time_point> deadline(SteadyClock::duration patience) const;
    /// Has more to do without waiting for anything.
    bool isReady() const { return alive_ && replies_.isEmpty() && hasRequest(); }

    /// Serves what poll(2) reported: reads, has a bounded number of requests handled, sends. Where
    /// it throws, a reply is missing or half out, and the client has to be dropped.
    void serve(short revents, RequestHandler& handler, SteadyClock::time_point now);
    /// Lets go of a client that has kept its deadline waiting.
    void expire(SteadyClock::duration patience, SteadyClock::time_point now);
    void drop() { alive_ = false; }
    bool isAlive() const { return alive_; }

    void reply(SharedLine line) { replies_.put(std::move(line)); }
    void reply(HistoryReply history) { replies_.put(std::move(history)); }

    /// Sends a watcher the line, unless it still reads an earlier one.
    void tell(const SharedLine& line, std::uint64_t change, SteadyClock::time_point now);
    void watch(std::uint64_t change, SteadyClock::time_point now);
    bool isWatching() const { return watching_; }
    bool isDue(std::uint64_t change, SteadyClock::duration signOfLife,
               SteadyClock::time_point now) const;

    /// Since when the client has been without a complete request.
    SteadyClock::time_point lastRequest() const { return lastRequest_; }
    SteadyClock::time_point since() const { return since_; }  ///< when it came
    /// Has asked something, and has been told all that it asked for so far.
    bool isHeard() const { return heard_ && replies_.isEmpty(); }

  private:
    bool hasRequest() const;
    void receive(SteadyClock::time_point now);
    void handleLines(RequestHandler& handler, SteadyClock::time_point now);
    std::optional<std::string_view> nextLine();
    void refuseEndlessLine();
    void send(SteadyClock::time_point now);
    void settle(SteadyClock::time_point now);

    UniqueFd fd_;
    RequestLines input_;
    ReplyQueue replies_;
    bool alive_ = true;
    bool ended_ = false;    // the client sends no more
    bool refused_ = false;  // and no more is taken from it
    bool watching_ = false;
    bool heard_ = false;
    std::uint64_t changeTold_ = 0;
    SteadyClock::time_point toldAt_;
    SteadyClock::time_point since_;
    SteadyClock::time_point lastRequest_;
    std::optional<SteadyClock::time_point> halfLineSince_;
    std::optional<SteadyClock::time_point> unreadSince_;
};

}  // namespace KORA::HA::Daemon::support
