// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

namespace koraha::test {

/// Has `work` done once, before the next fstat(2) of this process looks: what another process does
/// between a file's opening and the look at it. For tests with one thread.
void duringNextFstat(std::function<void()> work);

}  // namespace koraha::test
