// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace koraha::test {

/// The test program has an `mlockall` of its own: it notes itself as a call ("mlockall 3"), locks
/// nothing and succeeds, or fails with this error from now on.
void failMemoryLockWith(int error);

}  // namespace koraha::test
