// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <string>

namespace korahamonctl {

/// Replaces this process by another program of the tool, with the same arguments: beside this one,
/// as in a build tree, or where it is installed. Returns only when that cannot be: exitConcern.
///
/// What only a few commands need costs all others nothing then: loading libraries is most of what
/// a short command takes.
int becomeCompanion(const std::string& name, char** argv, std::ostream& err);

}  // namespace korahamonctl
