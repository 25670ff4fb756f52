#pragma once

#include <string>
#include <vector>

/// The daemon's `main`, which bears this name in the test program.
int koraharemotemondMain(int argc, char** argv);

namespace koraha::test {

/// Calls `main` with these words, the program name included.
inline int runMain(std::vector<std::string> words) {
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    return koraharemotemondMain(static_cast<int>(words.size()), argv.data());
}

}  // namespace koraha::test
