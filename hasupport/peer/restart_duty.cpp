#include "hasupport/peer/restart_duty.h"

#include "hasupport/io/notice.h"
#include "hasupport/peer/restart_action.h"
#include "hasupport/peer/restart_record.h"
#include "hasupport/peer/restart_stamp.h"
#include "hasupport/status/history.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::chrono::minutes obeyPause{10};
constexpr std::chrono::seconds crossing{30};  // a request of ours may still be on its way

RestartVerdict refuse(const std::string& reason) {
    notify("refused to restart at the peer's request: " + reason);
    noteEvent("refused to restart at the peer's request: " + reason);
    return {false, reason};
}

std::string whyNot() {
    if (AskingForRestart::now() || restartAskedWithin(crossing)) {
        return "this node asks for the peer's restart itself";
    }
    const StampFile last = readStamp(obeyedStampPath());
    if (last.unreadable) {
        return "when this node last restarted at the peer's request cannot be read";
    }
    if (last.stamp && last.stamp->age() < obeyPause) {
        return "this node restarted at the peer's request less than 10 minutes ago";
    }
    return {};
}

}  // namespace

std::atomic<int>& AskingForRestart::asking() {
    static constinit std::atomic<int> count{0};
    return count;
}

RestartVerdict obeyRestart(const std::string& why) {
    if (const std::string reason = whyNot(); !reason.empty()) {
        return refuse(reason);
    }
    if (!writeStamp(obeyedStampPath(), RestartStamp::now(why, "obeyed"))) {
        return refuse("the stamp of the restart cannot be written");
    }
    RestartAction& action = restartAction();
    const bool armed = action.armForced();
    action.tell("restarting at the peer's request: " + why);
    const bool started = action.startOrderly();
    if (!armed && !started) {
        return refuse("no restart can be started");
    }
    return {true, ""};
}

}  // namespace KORA::HA::Daemon::support
