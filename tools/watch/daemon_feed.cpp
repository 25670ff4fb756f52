// SPDX-License-Identifier: Apache-2.0
#include "tools/watch/daemon_feed.h"

#include <utility>

#include "tools/status_query.h"
#include "tools/visible.h"

namespace korahamonctl::watch {
namespace {

constexpr int connectMs = 100;  // this long a key may have to wait
constexpr std::chrono::seconds betweenQuestions{1};
constexpr std::chrono::seconds betweenHistories{5};
constexpr std::chrono::seconds patience{3};

}  // namespace

void DaemonFeed::step(Clock::time_point now) {
    if (client_) {
        takeAnswers(now);
    }
    if (now < due_) {
        return;
    }
    if (!client_) {
        connect(now);
    } else if (asked_) {
        giveUp("no complete reply within 3 s", now);
    } else {
        ask(now >= historyDue_ ? Question::history : Question::status, now);
    }
}

void DaemonFeed::connect(Clock::time_point now) {
    std::string problem;
    client_ = std::make_unique<DaemonClient>(socketPath_, problem, connectMs);
    if (!problem.empty()) {
        giveUp(visible(socketPath_) + ": " + problem, now);
        return;
    }
    historyDue_ = now;
    ask(Question::status, now);
}

void DaemonFeed::ask(Question question, Clock::time_point now) {
    const bool history = question == Question::history;
    if (!client_->send(history ? R"({"request":"history"})" : R"({"request":"status"})")) {
        giveUp("it has left", now);
        return;
    }
    if (history) {
        historyDue_ = now + betweenHistories;
    }
    asked_ = question;
    due_ = now + patience;
}

void DaemonFeed::takeAnswers(Clock::time_point now) {
    const bool stays = client_->takeWhatCame();
    while (const auto line = client_ ? client_->nextLine() : std::nullopt) {
        take(*line, now);
    }
    if (!stays && client_) {
        giveUp("it has left", now);
    }
}

void DaemonFeed::take(const std::string& line, Clock::time_point now) {
    std::string problem;
    auto answer = parseStatus(line, problem);
    if (!answer || !asked_) {
        giveUp(answer ? "it speaks without being asked" : problem, now);
        return;
    }
    ++answers_;
    problem_.clear();
    if (*asked_ == Question::history) {
        history_ = std::move(*answer);
    } else {
        status_ = std::move(*answer);
        statusAt_ = now;
    }
    const bool historyNext = *asked_ == Question::status && now >= historyDue_;
    asked_.reset();
    due_ = historyNext ? now : now + betweenQuestions;
}

void DaemonFeed::giveUp(const std::string& problem, Clock::time_point now) {
    client_.reset();
    asked_.reset();
    problem_ = problem;
    due_ = now + betweenQuestions;
}

}  // namespace korahamonctl::watch
