// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/restart_duty.h"

#include <algorithm>
#include <chrono>
#include <mutex>

#include "hasupport/io/boot_identity.h"
#include "hasupport/io/deadline.h"
#include "hasupport/io/notice.h"
#include "hasupport/io/telling_rate.h"
#include "hasupport/logfile/registry.h"
#include "hasupport/peer/restart_action.h"
#include "hasupport/peer/restart_stamp.h"
#include "hasupport/status/history.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::chrono::minutes obeyPause{10};
constexpr std::chrono::seconds crossing{30};  // a request of ours may still be on its way
constexpr std::chrono::seconds patience{1};   // of the peer; what comes later nobody waits for

constexpr std::size_t reasonLimit = 400;  // a line of the kernel log holds less than 1,000

// Between asking and obeying: a node does one or the other.
std::mutex& decision() {
    static constinit std::mutex mutex;
    return mutex;
}

/// The log tells of a restart that was obeyed, in memory alone.
std::atomic<bool>& logWaits() {
    static constinit std::atomic<bool> waits{false};
    return waits;
}

std::string printable(const std::string& text) {
    std::string out = text.substr(0, reasonLimit);
    std::replace_if(
        out.begin(), out.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return out;
}

RestartVerdict refusal(const std::string& reason) {
    return {false, reason, false};
}
RestartVerdict inability(const std::string& reason) {
    return {false, reason, true};
}

/// Arms before it writes: where the disk of the stamp hangs, the machine restarts all the same.
RestartVerdict decide(const std::string& why, bool& armed) {
    const SteadyClock::time_point began = SteadyClock::now();
    const std::lock_guard lock(decision());
    const StampFile asked = readStamp(askedStampPath());
    if (AskingForRestart::now() || (asked.stamp && asked.stamp->age() < crossing)) {
        return refusal("this node asks for the peer's restart itself");
    }
    if (asked.unreadable) {
        return inability("when this node last asked for the peer's restart cannot be read");
    }
    const StampFile last = readStamp(obeyedStampPath());
    if (last.unreadable) {
        return inability("when this node last restarted at the peer's request cannot be read");
    }
    if (last.stamp && last.stamp->age() < obeyPause) {
        return refusal("this node restarted at the peer's request less than 10 minutes ago");
    }
    if (SteadyClock::now() - began >= patience) {
        return inability("it took too long to read when this node last restarted");
    }
    armed = restartAction().armForced();
    const RestartStamp stamp = RestartStamp::now(why, "obeyed");
    if (!writeStamp(obeyedStampPath(), stamp)) {
        restartAction().disarm();
        withdrawStamp(obeyedStampPath(), stamp);  // nothing was obeyed
        return inability("the stamp of the restart cannot be written");
    }
    return {true, {}, false};
}

RestartVerdict carryOut(const std::string& why, bool armed) {
    RestartAction& action = restartAction();
    action.tell("restarting at the peer's request: " + why);
    const bool started = action.startOrderly();
    if (armed || started) {
        logWaits() = true;
        return {true, {}, false};
    }
    removeStamp(obeyedStampPath());  // nothing was obeyed
    return inability("no restart can be started");
}

}  // namespace

std::atomic<int>& AskingForRestart::asking() {
    static constinit std::atomic<int> count{0};
    return count;
}

AskingForRestart::AskingForRestart() {
    const std::lock_guard lock(decision());
    ++asking();
}

bool isAboutToRestart() {
    const auto [last, unreadable] = readStamp(obeyedStampPath());
    return unreadable || (last && last->bootId == bootIdentity().bootId && last->age() < obeyPause);
}

void keepRestartInLog() {
    DaemonLog* const log = messageLog();
    if (logWaits().exchange(false) && log != nullptr) {
        log->writeLogToDisk();
    }
}

RestartVerdict obeyRestart(const std::string& why) {
    const std::string reason = printable(why);
    bool armed = false;
    RestartVerdict verdict = decide(reason, armed);
    if (verdict.accepted) {
        verdict = carryOut(reason, armed);
    }
    static constinit TellingRate rate;
    if (!verdict.accepted && rate.allows()) {
        notify("refused to restart at the peer's request: " + verdict.reason);
        noteEvent("refused to restart at the peer's request: " + verdict.reason);
    }
    return verdict;
}

}  // namespace KORA::HA::Daemon::support
