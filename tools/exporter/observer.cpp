// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/observer.h"

#include <utility>

#include "hasupport/io/read_file.h"
#include "tools/config_document.h"
#include "tools/configured_paces.h"

namespace korahamonctl {
namespace {

constexpr int timeoutMs = 750;  // to be let in, and again to be answered
constexpr std::chrono::seconds statusLasts{1};
constexpr std::chrono::seconds historyLasts{5};

}  // namespace

SharedAnswer::SharedAnswer(std::string socketPath, std::string request, Clock::duration lasts)
    : socketPath_(std::move(socketPath)), request_(std::move(request)), lasts_(lasts) {}

bool SharedAnswer::isFresh() const {
    return answer_ && Clock::now() - answer_->at < lasts_;
}

std::shared_ptr<const SharedAnswer::Answer> SharedAnswer::latest() {
    std::unique_lock lock(mutex_);
    if (asking_) {
        answered_.wait(lock, [this] { return !asking_; });
        return answer_;
    }
    if (isFresh()) {
        return answer_;
    }
    asking_ = true;
    lock.unlock();
    auto answer = std::make_shared<Answer>();
    const auto start = Clock::now();
    try {
        answer->said = askDaemon(socketPath_, request_, timeoutMs);
    } catch (const std::exception&) {  // no memory for it
        answer->said.status.reset();
    }
    answer->at = Clock::now();
    answer->seconds = std::chrono::duration<double>(answer->at - start).count();
    lock.lock();
    asking_ = false;
    answer_ = std::move(answer);
    answered_.notify_all();
    return answer_;
}

Observer::Observer(const StatusOptions& options)
    : configuration_(options.configuration),
      status_(options.socketPath, "status", statusLasts),
      history_(options.socketPath, "history", historyLasts) {}

Observation Observer::look() {
    const auto answer = status_.latest();
    Observation seen;
    seen.status = answer->said.status;
    seen.problem = answer->said.problem;
    seen.answerSeconds = answer->seconds;
    if (seen.status) {
        seen.history = history_.latest()->said.status.value_or(Json::nullValue);
    }
    const std::string text =
        KORA::HA::Daemon::support::readFile(configuration_).value_or(std::string());
    seen.paces = pacesFrom(text);
    seen.configuration = parseConfig(text).value_or(Json::objectValue);
    return seen;
}

}  // namespace korahamonctl
