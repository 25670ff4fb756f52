// SPDX-License-Identifier: Apache-2.0
#include "tools/status_query.h"

#include <json/reader.h>

#include <exception>
#include <memory>

#include "tools/daemon_client.h"
#include "tools/visible.h"

namespace korahamonctl {
namespace {

constexpr int answerTimeoutMs = 3000;

std::optional<Json::Value> parseObject(const std::string& line) {
    try {
        Json::Value value;
        std::string errors;
        const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
        if (reader->parse(line.data(), line.data() + line.size(), &value, &errors) &&
            value.isObject()) {
            return value;
        }
    } catch (const std::exception&) {  // nested beyond the parser's own limit
        return std::nullopt;
    }
    return std::nullopt;
}

}  // namespace

std::optional<Json::Value> parseStatus(const std::string& line, std::string& problem) {
    auto value = parseObject(line);
    if (value && (*value)["error"].isString()) {
        problem = "it refuses: " + visible((*value)["error"].asString().substr(0, 200));
        return std::nullopt;
    }
    if (!value || !(*value)["version"].isNumeric()) {
        problem = "what it says is no status";
        return std::nullopt;
    }
    return value;
}

StatusAnswer askDaemon(const std::string& socketPath, const std::string& request, int timeoutMs) {
    StatusAnswer answer;
    DaemonClient client(socketPath, answer.problem, timeoutMs);
    if (!answer.problem.empty()) {
        answer.problem = visible(socketPath) + ": " + answer.problem;
        return answer;
    }
    if (!client.send(R"({"request":")" + request + R"("})")) {
        answer.problem = "it has left";
        return answer;
    }
    auto line = client.receive(timeoutMs);
    if (!line) {
        answer.problem = "no complete reply within " + secondsText(timeoutMs);
        return answer;
    }
    answer.line = std::move(*line);
    answer.status = parseStatus(answer.line, answer.problem);
    return answer;
}

StatusAnswer askStatus(const std::string& socketPath) {
    return askDaemon(socketPath, "status", answerTimeoutMs);
}

}  // namespace korahamonctl
