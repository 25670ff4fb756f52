// SPDX-License-Identifier: Apache-2.0
#include "tools/status_query.h"

#include <json/reader.h>

#include <exception>
#include <memory>
#include <utility>

#include "tools/daemon_query.h"
#include "tools/visible.h"

namespace korahamonctl {
namespace {

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
    DaemonSaid said = queryDaemon(socketPath, request, timeoutMs);
    StatusAnswer answer{std::move(said.line), std::nullopt, std::move(said.problem),
                        said.forbidden};
    if (answer.problem.empty()) {
        answer.status = parseStatus(answer.line, answer.problem);
    }
    return answer;
}

StatusAnswer askStatus(const std::string& socketPath) {
    return askDaemon(socketPath, "status", statusTimeoutMs);
}

}  // namespace korahamonctl
