// SPDX-License-Identifier: Apache-2.0
#include "tools/front/answer.h"

#include "hasupport/io/read_file.h"
#include "tools/daemon_query.h"
#include "tools/front/plain_json.h"

namespace korahamonctl::front {
namespace {

// Without a configuration the defaults hold.
std::optional<Criteria> criteriaOf(const std::string& path) {
    const auto text = KORA::HA::Daemon::support::readFile(path);
    return plainCriteria(text ? *text : "{}");
}

}  // namespace

std::optional<Told> answer(const Request& request) {
    const StatusOptions& options = request.options;
    const auto criteria = criteriaOf(options.configuration);
    if (!criteria) {
        return std::nullopt;
    }
    const DaemonSaid said = queryDaemon(options.socketPath, "status", statusTimeoutMs);
    if (!said.problem.empty()) {
        return request.check ? checkUntold(said.problem) : statusUntold(said.problem);
    }
    const auto record = plainRecord(said.line);
    if (!record) {
        return std::nullopt;
    }
    if (request.check) {
        return checkTold(*record, *criteria);
    }
    return options.json ? statusJsonTold(said.line, *record, criteria->paces)
                        : statusTold(*record, criteria->paces);
}

}  // namespace korahamonctl::front
