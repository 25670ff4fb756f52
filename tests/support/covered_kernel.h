// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

namespace koraha::test {

/// Runs `body` in a child process in which `proc` and `sys` lie over /proc and /sys. Failed
/// expectations inside count here; so does a system that does not allow it.
void withKernelFiles(const std::string& proc, const std::string& sys,
                     const std::function<void()>& body);

}  // namespace koraha::test
