// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace koraha::test {

using Calls = std::vector<std::string>;

/// The same calls that many times in a row.
inline Calls repeated(int count, const Calls& calls) {
    Calls all;
    for (int i = 0; i < count; ++i) {
        all.insert(all.end(), calls.begin(), calls.end());
    }
    return all;
}

inline Calls operator+(Calls first, const Calls& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

}  // namespace koraha::test
