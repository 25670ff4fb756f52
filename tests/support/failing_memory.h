// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace koraha::test {

/// The test program has an `operator new` of its own, which can lack memory once.
///
/// While this object lives, the allocation of that number, from 0, that its thread makes fails with
/// bad_alloc; the ones before it do not, and those after it only `andAllBehindIt`.
class FailingAllocation {
  public:
    explicit FailingAllocation(int number, bool andAllBehindIt = false);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// Whether there were so many that one failed.
    static bool hasFailed();
};

/// For what the test program does on the daemon's behalf: nothing fails or is counted meanwhile.
class AllocationsAside {
  public:
    AllocationsAside();
    ~AllocationsAside();
    AllocationsAside(const AllocationsAside&) = delete;
    AllocationsAside& operator=(const AllocationsAside&) = delete;

  private:
    int untilFailure_;
};

}  // namespace koraha::test
