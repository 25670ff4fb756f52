// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace KORA::HA::Daemon {

/// The number that a text spells as a whole: an optional sign, decimal digits, an optional fraction
/// and exponent, blanks around it. Nothing when it spells none, or one that the type cannot hold.
/// An integer from a text with a fraction is truncated toward zero.
std::optional<int> intFromText(const std::string& text);
std::optional<float> floatFromText(const std::string& text);

}  // namespace KORA::HA::Daemon
