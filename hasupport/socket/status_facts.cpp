// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket/status_facts.h"

#include <unistd.h>

#include <utility>

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::chrono::seconds lookEvery{1};
constexpr std::chrono::seconds evaluateEvery{5};

bool isDue(std::optional<SteadyClock::time_point>& last, SteadyClock::time_point now,
           SteadyClock::duration every) {
    if (last && now - *last < every) {
        return false;
    }
    last = now;
    return true;
}

/// Whether anything but the time that has gone by since differs.
bool isSame(const std::optional<RestartRecord>& one, const std::optional<RestartRecord>& other) {
    if (!one || !other) {
        return one.has_value() == other.has_value();
    }
    return one->askedAt == other->askedAt && one->reason == other->reason &&
           one->outcome == other->outcome && one->leftAt == other->leftAt &&
           one->backAt == other->backAt;
}

}  // namespace

bool StatusFacts::refresh(SteadyClock::time_point now) {
    bool changed = false;
    if (isDue(lookedAt_, now, lookEvery)) {
        changed = refreshRole();
        changed = refreshRestart() || changed;
    }
    if (isDue(evaluatedAt_, now, evaluateEvery)) {
        changed = refreshConstraints() || changed;
    }
    return changed;
}

bool StatusFacts::refreshRole() {
    const bool active = ::access(sources_.roleMarker.c_str(), F_OK) == 0;
    return std::exchange(active_, active) != active;
}

bool StatusFacts::refreshRestart() {
    auto before = std::exchange(lastRestart_, sources_.lastRestart());
    return !isSame(before, lastRestart_);
}

bool StatusFacts::refreshConstraints() {
    const auto reasonsBefore = std::exchange(constraints_, sources_.constraints());
    const auto arraysBefore = std::exchange(degradedArrays_, sources_.degradedArrays());
    return reasonsBefore != constraints_ || arraysBefore != degradedArrays_;
}

}  // namespace KORA::HA::Daemon::support
