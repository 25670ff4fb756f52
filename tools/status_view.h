// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tools/health_record.h"
#include "tools/paces.h"

namespace korahamonctl {

/// The record for a person, a line per value; what is unknown is shown as unknown, with the reason.
std::string statusText(const HealthRecord& record, const Paces& paces);

/// What matters of the record in one line; two records that differ in their ages only give the
/// same, unless a value has become stale in between.
std::string oneLine(const HealthRecord& record, const Paces& paces);

}  // namespace korahamonctl
