// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

namespace koraha::test {

/// Runs `body` in a thread with the 80 KiB stack of the daemon's routines (with the stack that
/// such builds give them where a sanitizer makes every frame larger).
void onSmallStack(const std::function<void()>& body);

}  // namespace koraha::test
