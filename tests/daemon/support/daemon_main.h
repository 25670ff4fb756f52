// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <string>
#include <vector>

/// The daemon's `main`, which bears this name in the test program.
int koraharemotemondMain(int argc, char** argv);

namespace koraha::test {

/// Calls `main` with these words, the program name included.
inline int runMain(std::vector<std::string> words) {
    std::vector<char*> argv(words.size() + 1, nullptr);
    std::transform(words.begin(), words.end(), argv.begin(),
                   [](std::string& word) { return word.data(); });
    return koraharemotemondMain(static_cast<int>(words.size()), argv.data());
}

}  // namespace koraha::test
