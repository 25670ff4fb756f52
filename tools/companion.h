// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace korahamonctl {

/// Replaces this process by another program of the tool, with the same arguments: beside this one,
/// as all are in a build tree and those that only the tool starts are anywhere, or where those are
/// installed. Returns only when that cannot be: what to tell a person.
///
/// What only a few commands need costs all others nothing then: loading libraries is most of what
/// a short command takes.
std::string becomeCompanion(const std::string& name, char** argv);

}  // namespace korahamonctl
