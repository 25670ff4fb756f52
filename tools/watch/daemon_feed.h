// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "tools/daemon_client.h"

namespace korahamonctl::watch {

/// Asks the daemon again and again and keeps what it said last. Never waits for it: a daemon that
/// hangs, goes away and comes back is only a state of this. Used by one thread.
class DaemonFeed {
  public:
    using Clock = std::chrono::steady_clock;

    explicit DaemonFeed(std::string socketPath) : socketPath_(std::move(socketPath)) {}

    /// Takes what has come, and asks, connects or gives up where it is time to.
    void step(Clock::time_point now);
    /// What to wait on until then; -1 when there is no connection.
    int descriptor() const { return client_ ? client_->descriptor() : -1; }
    Clock::time_point nextStep() const { return due_; }

    const std::optional<Json::Value>& status() const { return status_; }
    Clock::time_point statusAt() const { return statusAt_; }
    const Json::Value& history() const { return history_; }
    /// Why there is no answer; empty while there is. Safe to print.
    const std::string& problem() const { return problem_; }
    /// Grows with each answer.
    unsigned answers() const { return answers_; }

  private:
    enum class Question { status, history };

    void connect(Clock::time_point now);
    void ask(Question question, Clock::time_point now);
    void takeAnswers(Clock::time_point now);
    void take(const std::string& line, Clock::time_point now);
    void giveUp(const std::string& problem, Clock::time_point now);

    std::string socketPath_;
    std::unique_ptr<DaemonClient> client_;
    std::optional<Question> asked_;
    Clock::time_point due_;  // to ask, or to connect; while asked, to give up
    Clock::time_point historyDue_;
    std::optional<Json::Value> status_;
    Clock::time_point statusAt_;
    Json::Value history_;
    std::string problem_;
    unsigned answers_ = 0;
};

}  // namespace korahamonctl::watch
