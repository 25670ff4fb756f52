// SPDX-License-Identifier: Apache-2.0
#include "tools/exit_codes.h"
#include "tools/status_judgement.h"
#include "tools/status_view.h"
#include "tools/told.h"
#include "tools/visible.h"

namespace korahamonctl {
namespace {

Told judged(std::string out, const HealthRecord& record, const Paces& paces) {
    return {std::move(out), "", concernsIn(record, paces).empty() ? exitFine : exitConcern};
}

}  // namespace

Told statusTold(const HealthRecord& record, const Paces& paces) {
    return judged(statusText(record, paces), record, paces);
}

Told statusJsonTold(const std::string& line, const HealthRecord& record, const Paces& paces) {
    return judged(visibleJson(line) + "\n", record, paces);
}

Told statusUntold(const std::string& problem) {
    return {"",
            "korahamonctl: the daemon does not answer: " + problem +
                "\nIs it running? korahamonctl doctor looks for what keeps it from working.\n",
            exitNoAnswer};
}

}  // namespace korahamonctl
