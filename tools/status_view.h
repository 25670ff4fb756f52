// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <iosfwd>
#include <string>

#include "tools/paces.h"

namespace korahamonctl {

/// The record for a person, a line per value; what is unknown is shown as unknown, with the reason.
void printStatus(const Json::Value& status, const Paces& paces, std::ostream& out);

/// What matters of the record in one line; two records that differ in their ages only give the
/// same, unless a value has become stale in between.
std::string oneLine(const Json::Value& status, const Paces& paces);

}  // namespace korahamonctl
