// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace koraha::test {

/// While it lives, no directory of this process can be synced: what was renamed there stands, and
/// may yet be gone after a power failure. Files can be synced all the same.
class FailingDirectorySync {
  public:
    FailingDirectorySync();
    ~FailingDirectorySync();
    FailingDirectorySync(const FailingDirectorySync&) = delete;
    FailingDirectorySync& operator=(const FailingDirectorySync&) = delete;
};

}  // namespace koraha::test
