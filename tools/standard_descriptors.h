// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace korahamonctl {

/// A descriptor that the caller has closed would go to the next file or socket that is opened, and
/// what is meant for a person would be written into that. What is written there fails instead.
void fillStandardDescriptors();

/// What a person is told then.
inline constexpr const char* unwrittenText = "korahamonctl: the output cannot be written\n";

}  // namespace korahamonctl
