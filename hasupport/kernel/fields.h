// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace KORA::HA::Daemon::support {

/// Cuts the next line off `text`, without its line end. False when nothing is left.
bool nextLine(std::string_view& text, std::string_view& line);

/// Cuts the next field off `text`, which blanks separate; empty when nothing is left.
std::string_view nextField(std::string_view& text);

}  // namespace KORA::HA::Daemon::support
