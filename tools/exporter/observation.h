// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <optional>
#include <string>

#include "tools/paces.h"

namespace korahamonctl {

/// All that is known at one time about the daemon and what it saw.
struct Observation {
    std::optional<Json::Value> status;  ///< nothing when the daemon did not answer
    std::string problem;                ///< why not
    double answerSeconds = 0;           ///< how long it took to answer, or to be given up
    Json::Value history;                ///< null when it was not had
    Json::Value configuration = Json::objectValue;
    Paces paces;
};

}  // namespace korahamonctl
