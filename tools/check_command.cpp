// SPDX-License-Identifier: Apache-2.0
#include "tools/check_command.h"

#include <ostream>

#include "hasupport/io/read_file.h"
#include "tools/configured_paces.h"
#include "tools/json_words.h"
#include "tools/status_query.h"
#include "tools/told.h"

namespace korahamonctl {

int checkHealth(const StatusOptions& options, std::ostream& out) {
    const StatusAnswer answer = askStatus(options.socketPath);
    const auto text = KORA::HA::Daemon::support::readFile(options.configuration);
    const Told told = answer.status
                          ? checkTold(recordOf(*answer.status), criteriaFrom(text.value_or("")))
                          : checkUntold(answer.problem);
    out << told.out;
    return told.code;
}

}  // namespace korahamonctl
