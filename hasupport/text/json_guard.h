// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

namespace KORA::HA::Daemon::support {

/// True when the text is at most `maxBytes` long and nests arrays and objects at most `maxDepth`
/// levels deep, as the JSON parser would count them: brackets inside strings and comments are none.
/// Says nothing about whether the text is valid. The parser recurses per level and throws past a
/// limit of its own that a small stack does not reach, so hostile text must pass here first.
bool jsonIsBounded(std::string_view text, std::size_t maxBytes, unsigned maxDepth);

}  // namespace KORA::HA::Daemon::support
