// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

namespace KORA::HA::Daemon::support {

/// What restarting this machine does to the world. There is one; tests replace it, so that no test
/// can ever restart the machine it runs on.
class RestartAction {
  public:
    RestartAction() = default;
    virtual ~RestartAction() = default;
    RestartAction(const RestartAction&) = delete;
    RestartAction& operator=(const RestartAction&) = delete;

    /// Makes sure that the machine restarts within a minute whatever happens to this process and to
    /// its disks. False when that cannot be promised.
    virtual bool armForced() = 0;
    /// Takes the promise back.
    virtual void disarm() = 0;
    /// Starts the orderly restart and does not wait for it.
    virtual bool startOrderly() = 0;
    /// Tells the reason to daemon log, system log and kernel log, without waiting for a disk.
    virtual void tell(const std::string& reason) = 0;
};

/// The real thing; or, where the settings name an orderlyCommand, that command and nothing else.
RestartAction& restartAction();

/// For tests only. Null brings the real one back.
void TEST_replaceRestartAction(RestartAction* action);

}  // namespace KORA::HA::Daemon::support
