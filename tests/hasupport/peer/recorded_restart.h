// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "hasupport/peer/restart_action.h"

namespace koraha::test {

/// Stands for the restart of this machine while it lives, and only notes what would be done.
class RecordedRestart : public KORA::HA::Daemon::support::RestartAction {
  public:
    RecordedRestart() { KORA::HA::Daemon::support::TEST_replaceRestartAction(this); }
    ~RecordedRestart() override { KORA::HA::Daemon::support::TEST_replaceRestartAction(nullptr); }

    bool armForced() override { return note("arm", arms); }
    void disarm() override { note("disarm", true); }
    bool startOrderly() override { return note("start", starts); }
    void tell(const std::string& reason) override { note("tell " + reason, true); }

    std::vector<std::string> calls;
    bool arms = true;
    bool starts = true;
    std::function<void(const std::string& call)> onCall;

  private:
    bool note(const std::string& call, bool result) {
        calls.push_back(call);
        if (onCall) {
            onCall(call);
        }
        return result;
    }
};

}  // namespace koraha::test
