// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <string>

namespace korahamonctl {

/// Says what a message means and what to do about it. `asked` is a line from a log, the number of a
/// message, or a part of its text; everything there is, when empty. 0, or 1 when nothing fits.
int explain(const std::string& asked, std::ostream& out, std::ostream& err);

}  // namespace korahamonctl
