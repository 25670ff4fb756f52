// SPDX-License-Identifier: Apache-2.0
#include <json/value.h>

#include <string>

#include "hasupport/record/collect.h"
#include "hasupport/status/history.h"
#include "hasupport/status/readings.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr Json::ArrayIndex namesLimit = 16;

/// The names of a disk list, separated by commas.
std::string namesOf(const Json::Value& disks) {
    std::string names;
    if (!disks.isArray()) {
        return names;
    }
    for (Json::ArrayIndex at = 0; at < disks.size() && at < namesLimit; ++at) {
        if (disks[at].isString()) {
            names += names.empty() ? "" : ",";
            names += disks[at].asString();
        }
    }
    return names;
}

std::string describe(Status& status) {
    RecordLine line("status");
    line.flag("remoteAlive", status.isRemoteAlive()).flag("drbdConnected", status.drbdConnected);
    line.flag("remoteMDResync", status.remoteMDResync);
    line.flag("remoteDiskErrHandling", status.remoteDiskErrHandling);
    line.flag("localMDResync", status.localMDResync);
    line.flag("localDiskErrHandling", status.localDiskErrHandling);
    line.real("netNonOkRate", status.netNonOkRate).real("hbLatency", status.hbLatency);
    line.text("errHandlingDisks", namesOf(status.getErrHandlingDisk()));
    return line.text("errHandlingDisksRemote", namesOf(status.getErrHandlingDiskRemote())).str();
}

std::string describe(Reading reading, SteadyClock::time_point now) {
    const ReadingState state = readingState(reading);
    RecordLine line("reading");
    line.text("name", readingName(reading)).flag("valid", state.valid);
    if (state.lastGood) {
        line.real("ageSeconds", std::chrono::duration<double>(now - *state.lastGood).count());
    }
    if (!state.valid) {
        line.text("reason", state.reason);
    }
    return line.str();
}

std::string describe(const Sample& sample) {
    RecordLine line("sample");
    line.time("time", sample.at).number("sequence", sample.sequence);
    if (sample.kind == SampleKind::hbLatency) {
        line.text("kind", "hbLatency").real("value", sample.value);
        line.number("sent", sample.sent).number("answered", sample.answered);
    } else {
        line.text("kind", "netNonOkRate").real("value", sample.value);
    }
    return line.str();
}

}  // namespace

bool collectStatus(Status& status, std::uint64_t& lastSample, const LineSink& sink) {
    sink(describe(status));
    const auto now = SteadyClock::now();
    for (std::size_t index = 0; index < readingCount; ++index) {
        sink(describe(static_cast<Reading>(index), now));
    }
    for (const Sample& sample : samplesAfter(lastSample)) {
        sink(describe(sample));
        lastSample = sample.sequence;
    }
    return true;
}

}  // namespace KORA::HA::Daemon::support
