// SPDX-License-Identifier: Apache-2.0
#include <malloc.h>

namespace {

// All memory of the daemon is locked, and every further arena of the allocator reserves tens of
// megabytes that count as locked. Has to happen before the first thread allocates.
__attribute__((constructor)) void useOneArena() {
    ::mallopt(M_ARENA_MAX, 1);
}

}  // namespace
