// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace korahamonctl {

/// Text from elsewhere that is safe to print on a terminal: control characters (also those that are
/// coded in two bytes of UTF-8) become \xNN, what turns the writing direction \uNNNN, and what is
/// no UTF-8 \xNN. Cut, with "..." behind it, once it is longer than `limit` bytes.
std::string visible(const std::string& text, std::size_t limit = std::string::npos);

/// One line of JSON that is safe to print and still the same JSON: control characters inside it
/// become \u00NN, what turns the writing direction \uNNNN.
std::string visibleJson(const std::string& line);

}  // namespace korahamonctl
