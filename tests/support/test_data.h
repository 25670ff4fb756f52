// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "hasupport/io/kernel_roots.h"

namespace koraha::test {

/// The path of something below the unpacked test data.
inline std::string testData(const std::string& name) {
    return std::string(KORAHA_TEST_DATA) + "/" + name;
}

/// The text of a file of the test data, which must be there.
inline std::string testText(const std::string& name) {
    std::ifstream file(testData(name));
    if (!file) {
        throw std::runtime_error("no test data " + name);
    }
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// The roots of a captured kernel state.
inline KORA::HA::Daemon::support::KernelRoots capturedRoots(const std::string& state) {
    return {testData(state + "/proc"), testData(state + "/sys")};
}

}  // namespace koraha::test
