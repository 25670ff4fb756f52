// SPDX-License-Identifier: Apache-2.0
#include "hasupport/probe/constraints.h"

#include <chrono>
#include <exception>
#include <utility>

#include "hasupport/io/notice.h"
#include "hasupport/local_probes.h"
#include "hasupport/peer/restart_record.h"
#include "hasupport/peer/restart_stamp.h"
#include "hasupport/probe/disk_err_process.h"
#include "hasupport/probe/drbd_process.h"
#include "hasupport/probe/evaluate_constraints.h"
#include "hasupport/settings/support_settings.h"

namespace KORA::HA::Daemon {
namespace support {
namespace {

constexpr std::chrono::minutes restartPause{15};

constinit Notice forbidden;

ConstraintInput gatherInput(DrbdView drbd) {
    const SupportSettings& settings = supportSettings();
    ConstraintInput input;
    input.drbd = std::move(drbd);
    input.drbdExpected = settings.drbd;
    input.md = readMd(KernelRoots());
    input.disks = peekAtDisks();
    input.markerPath = settings.stampDirectory + "/maintenance";
    input.restartUnknown = readStamp(askedStampPath()).unreadable;
    input.restartAsked = !input.restartUnknown && restartAskedWithin(restartPause);
    return input;
}

std::string joined(const std::vector<std::string>& reasons) {
    std::string text = "the peer must not be restarted:";
    for (const std::string& reason : reasons) {
        text += " " + reason;
    }
    return text;
}

std::vector<std::string> constraintsWith(DrbdView (*look)()) try {
    return evaluateConstraints(gatherInput(look()));
} catch (const std::exception&) {
    return {"The constraints cannot be evaluated."};
}

}  // namespace

std::vector<std::string> currentConstraints() {
    return constraintsWith(&lookAtDrbd);
}

std::vector<std::string> constraintsAtHand() {
    return constraintsWith(&drbdAtHand);
}

}  // namespace support

// What cannot be judged forbids the restart: here true is the value that does no harm.
bool isHadConstraints() try {
    const auto reasons = support::currentConstraints();
    if (reasons.empty()) {
        support::forbidden.clear("nothing on this node forbids a restart of the peer any more");
        return false;
    }
    support::forbidden.raise(support::joined(reasons));
    return true;
} catch (const std::exception&) {
    return true;
}

}  // namespace KORA::HA::Daemon
