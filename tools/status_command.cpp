// SPDX-License-Identifier: Apache-2.0
#include "tools/status_command.h"

#include <json/value.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <ostream>
#include <thread>
#include <utility>

#include "tools/configured_paces.h"
#include "tools/daemon_client.h"
#include "tools/exit_codes.h"
#include "tools/json_words.h"
#include "tools/status_query.h"
#include "tools/status_view.h"
#include "tools/told.h"
#include "tools/visible.h"
#include "tools/watch/live_view.h"

namespace korahamonctl {
namespace {

constexpr std::chrono::seconds betweenQuestions{1};
constexpr int firstLineMs = 3000;
constexpr int signOfLifeMs = 45'000;  // the daemon promises a line every 30 s

int fail(std::ostream& err, const std::string& problem) {
    const Told told = statusUntold(problem);
    err << told.err;
    return told.code;
}

std::string timeOfDay() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    std::array<char, 16> text{};
    std::strftime(text.data(), text.size(), "%H:%M:%S", &local);
    return text.data();
}

// The first answer in which all is well, or the last one that there was time for.
StatusAnswer awaitWell(const StatusOptions& options, const Paces& paces) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::seconds(options.waitSeconds);
    for (;;) {
        StatusAnswer answer = askStatus(options.socketPath);
        if ((answer.status && concernsIn(*answer.status, paces).empty()) || Clock::now() >= end) {
            return answer;
        }
        std::this_thread::sleep_for(
            std::min<Clock::duration>(betweenQuestions, end - Clock::now()));
    }
}

}  // namespace

int showStatus(const StatusOptions& options, std::ostream& out, std::ostream& err) {
    const Paces paces = pacesOfFile(options.configuration);
    const StatusAnswer answer = awaitWell(options, paces);
    if (!answer.status) {
        return fail(err, answer.problem);
    }
    const HealthRecord record = recordOf(*answer.status);
    const Told told =
        options.json ? statusJsonTold(answer.line, record, paces) : statusTold(record, paces);
    out << told.out;
    return told.code;
}

int watchPair(const StatusOptions& options, std::ostream& out, std::ostream& err) {
    if (options.json || options.lines || !watch::isOnTerminal()) {
        return watchStatus(options, out, err);
    }
    std::string problem;
    if (const auto result = watch::showLive(options, problem)) {
        return *result;
    }
    err << "korahamonctl: " << problem << ", so here is a line for each change\n";
    return watchStatus(options, out, err);
}

int watchStatus(const StatusOptions& options, std::ostream& out, std::ostream& err) {
    std::string problem;
    DaemonClient client(options.socketPath, problem);
    if (!problem.empty() || !client.send(R"({"request":"watch"})")) {
        return fail(err, visible(options.socketPath) + ": " + problem);
    }
    const Paces paces = pacesOfFile(options.configuration);
    std::string shown;
    int timeoutMs = firstLineMs;
    while (const auto line = client.receive(std::exchange(timeoutMs, signOfLifeMs))) {
        const auto status = parseStatus(*line, problem);
        if (!status) {
            return fail(err, problem);
        }
        const std::string summary =
            options.json ? visibleJson(*line) : oneLine(recordOf(*status), paces);
        if (options.json || summary != shown) {
            out << (options.json ? "" : timeOfDay() + "  ") << summary << std::endl;
        }
        if (!out) {
            return exitConcern;
        }
        shown = summary;
    }
    return fail(err, "it has left or hangs");
}

}  // namespace korahamonctl
