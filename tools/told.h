// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tools/criteria.h"
#include "tools/health_record.h"

namespace korahamonctl {

/// What a command says, and ends with.
struct Told {
    std::string out;
    std::string err;
    int code = 0;
};

/// What `status` tells for a status, which came as this line.
Told statusTold(const HealthRecord& record, const Paces& paces);
Told statusJsonTold(const std::string& line, const HealthRecord& record, const Paces& paces);
/// What it tells when the daemon has given none.
Told statusUntold(const std::string& problem);

/// What `check` tells for a status: one line as monitoring plug-ins print it, with performance
/// data, and their exit code.
Told checkTold(const HealthRecord& record, const Criteria& criteria);
/// What it tells when the daemon has given none.
Told checkUntold(const std::string& problem);

}  // namespace korahamonctl
