// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket/status_reply.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

#include "hasupport/status/process_start.h"
#include "hasupport/status/readings.h"
#include "hasupport/text/json_text.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::chrono::seconds agesLast{1};

using ReadingStates = std::array<ReadingState, readingCount>;

double secondsBetween(SteadyClock::time_point from, SteadyClock::time_point to) {
    return std::max(std::chrono::duration<double>(to - from).count(), 0.0);
}

ReadingStates allReadings() {
    ReadingStates states;
    for (std::size_t index = 0; index < readingCount; ++index) {
        states[index] = readingState(static_cast<Reading>(index));
    }
    return states;
}

void writeNames(JsonText& json, std::string_view key, const std::vector<std::string>& names) {
    json.key(key).openArray();
    for (const std::string& name : names) {
        json.text(name);
    }
    json.closeArray();
}

/// Null when nobody knows, which is not the same as none.
void writeKnownNames(JsonText& json, std::string_view key,
                     const std::optional<std::vector<std::string>>& names) {
    if (names) {
        writeNames(json, key, *names);
    } else {
        json.key(key).null();
    }
}

void writeAge(JsonText& json, std::string_view key,
              const std::optional<SteadyClock::time_point>& since, SteadyClock::time_point now) {
    json.key(key);
    if (since) {
        json.seconds(secondsBetween(*since, now));
    } else {
        json.null();
    }
}

void writeValues(JsonText& json, const StatusSnapshot& snapshot) {
    json.key("remoteAlive").flag(snapshot.remoteAlive);
    json.key("drbdConnected").flag(snapshot.drbdConnected);
    json.key("remoteMDResync").flag(snapshot.remoteMDResync);
    json.key("remoteDiskErrHandling").flag(snapshot.remoteDiskErrHandling);
    json.key("localMDResync").flag(snapshot.localMDResync);
    json.key("localDiskErrHandling").flag(snapshot.localDiskErrHandling);
    json.key("netNonOkRate").real(snapshot.netNonOkRate());
    json.key("hbLatency").real(snapshot.hbLatency());
    writeNames(json, "errHandlingDisks", snapshot.errHandlingDisks);
    writeNames(json, "errHandlingDisksRemote", snapshot.errHandlingDisksRemote);
}

void writeReadings(JsonText& json, const ReadingStates& states, SteadyClock::time_point now) {
    json.key("ageSeconds").openObject();
    for (std::size_t index = 0; index < readingCount; ++index) {
        writeAge(json, readingName(static_cast<Reading>(index)), states[index].lastGood, now);
    }
    json.closeObject().key("readings").openObject();
    for (std::size_t index = 0; index < readingCount; ++index) {
        const ReadingState& state = states[index];
        json.key(readingName(static_cast<Reading>(index))).openObject();
        json.key("valid").flag(state.valid).key("reason").text(state.reason);
        writeAge(json, "ageSeconds", state.lastGood, now);
        writeAge(json, "attemptAgeSeconds", state.lastAttempt, now);
        json.closeObject();
    }
    json.closeObject();
}

void writeTime(JsonText& json, std::string_view key,
               const std::optional<std::chrono::system_clock::time_point>& at) {
    json.key(key);
    if (at) {
        json.time(*at);
    } else {
        json.null();
    }
}

void writeRestart(JsonText& json, const std::optional<RestartRecord>& restart) {
    json.key("lastRestart");
    if (!restart) {
        json.null();
        return;
    }
    json.openObject();
    writeTime(json, "at", restart->askedAt);
    json.key("agoSeconds").integer(restart->askedAgo.count());
    json.key("reason").text(restart->reason).key("outcome").text(restart->outcome);
    writeTime(json, "leftAt", restart->leftAt);
    writeTime(json, "backAt", restart->backAt);
    json.closeObject();
}

void writeProcess(JsonText& json, SteadyClock::time_point now) {
    json.key("pid").integer(::getpid());
    json.key("uptimeSeconds").seconds(secondsBetween(processStart(), now));
    json.key("softwareVersion").text(KORAHA_VERSION);
}

}  // namespace

SharedLine StatusReply::line(const Status& status, SteadyClock::time_point now) {
    // Where memory runs out in here, no older line is taken for one of now by the next call.
    SharedLine before = std::exchange(line_, nullptr);
    StatusSnapshot snapshot = takeSnapshot(status);
    const bool factsChanged = facts_.refresh(now);
    const bool changed = factsChanged || !before || snapshot != snapshot_;
    if (!changed && now - renderedAt_ < agesLast) {
        line_ = std::move(before);
        return line_;
    }
    changes_ += changed ? 1 : 0;
    snapshot_ = std::move(snapshot);
    renderedAt_ = now;
    line_ = std::make_shared<const std::string>(render(now));
    return line_;
}

std::string StatusReply::render(SteadyClock::time_point now) const {
    JsonText json;
    json.openObject().key("version").integer(1);
    writeValues(json, snapshot_);
    json.key("active").flag(facts_.active());
    writeReadings(json, allReadings(), now);
    writeNames(json, "constraints", facts_.constraints());
    writeKnownNames(json, "degradedArrays", facts_.degradedArrays());
    writeRestart(json, facts_.lastRestart());
    writeProcess(json, now);
    json.closeObject();
    return json.take() + '\n';
}

}  // namespace KORA::HA::Daemon::support
