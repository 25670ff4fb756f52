// SPDX-License-Identifier: Apache-2.0
#include <json/value.h>

#include "hasupport/interface_checker.h"
#include "hasupport/kernel/disk_err_watch.h"
#include "hasupport/kernel/drbd_view.h"
#include "hasupport/kernel/md_view.h"
#include "hasupport/kernel/net_counters.h"
#include "hasupport/local_probes.h"
#include "hasupport/probe/evaluate_constraints.h"
#include "hasupport/record/collect.h"
#include "hasupport/records.h"
#include "hasupport/status/readings.h"
#include "tests/faults/operation.h"

namespace koraha::faults {
namespace {

using namespace KORA::HA::Daemon;
using namespace KORA::HA::Daemon::support;

/// A value that counts unless its reading is invalid, with a reason.
Outcome read(Reading reading, std::string value) {
    const ReadingState state = readingState(reading);
    return {std::move(value), !state.valid && !state.reason.empty()};
}

Outcome lookAtMd(const KernelRoots& roots) {
    const MdView view = readMd(roots);
    std::string value;
    for (const MdArray& array : view.arrays) {
        value += array.name + (array.resyncing ? " resync" : "") +
                 (array.degraded ? " degraded" : "") + ";";
    }
    return {value, !view.known && !view.reason.empty()};
}

Outcome lookAtDrbd(const KernelRoots& roots) {
    Drbdsetup none({}, Milliseconds(0));
    const DrbdView view = readDrbd(roots, none, "");
    std::string value = view.answer == DrbdView::Answer::noModule ? "no module" : "known";
    for (const DrbdResource& each : view.resources) {
        value += " " + each.name + (each.established ? " established" : "");
    }
    return {value, view.answer == DrbdView::Answer::unknown && !view.reason.empty()};
}

Outcome askDrbdsetup() {
    Drbdsetup played({"/run/drbdsetup"}, Milliseconds(2000));
    const DrbdsetupOutput output = played.events();
    return {output.text, !output.failure.empty()};
}

Outcome lookAtDisks(const KernelRoots& roots) {
    DiskErrWatch watch(roots, {"sda"});
    std::string value;
    bool stated = false;
    for (int look = 0; look < 2; ++look) {
        const DiskErrLook found = watch.look();
        for (const std::string& disk : found.disks) {
            value += disk + " ";
        }
        stated = stated || (!found.known && !found.reason.empty());
    }
    return {value, stated};
}

Outcome judgeConstraints(const KernelRoots& roots) {
    Drbdsetup none({}, Milliseconds(0));
    ConstraintInput input;
    input.drbd = readDrbd(roots, none, "");
    input.md = readMd(roots);
    input.disks = DiskErrWatch(roots, {}).look();
    const auto reasons = evaluateConstraints(input);
    // What cannot be read forbids the restart: one reason more is a statement, one less is not.
    return {reasons.empty() ? "allowed" : "forbidden", !reasons.empty()};
}

Outcome countPackets(const KernelRoots& roots, const std::string& interface) {
    const auto counters = readNetCounters(roots, interface);
    return {counters ? std::to_string(counters->good) : "none", !counters};
}

template <typename Collect>
Outcome collect(const Collect& source, const KernelRoots& roots) {
    std::size_t lines = 0;
    const bool good = source(roots, [&](const std::string&) { ++lines; });
    return {std::to_string(lines) + " lines", !good};
}

Outcome probeDisks() {
    Json::Value disks;
    const bool handling = isDiskErrHandling(disks);
    return read(Reading::localDiskErrHandling, handling ? "handling" : "quiet");
}

Outcome probeInterface() {
    InterfaceChecker checker;
    float rate = -1.0F;
    const bool good = checker.networkNonOkRate(rate) && checker.networkNonOkRate(rate);
    return {good ? "measured" : "not measured", !good};
}

}  // namespace

std::vector<Operation> kernelOperations(const std::string& data) {
    const auto captured = [&data](const std::string& state) {
        return KernelRoots{data + "/" + state + "/proc", data + "/" + state + "/sys"};
    };
    const auto on = [&captured](const char* name, auto function, const char* state) {
        return Operation{std::string(name) + " " + state,
                         [function, roots = captured(state)] { return function(roots); }};
    };
    std::vector<Operation> all{
        on("md", lookAtMd, "md-resync"),
        on("md", lookAtMd, "md-degraded-faulty"),
        on("drbd", lookAtDrbd, "drbd-synctarget"),
        on("drbd", lookAtDrbd, "drbd-module-not-loaded"),
        on("disks", lookAtDisks, "scsi-host-recovery"),
        on("disks", lookAtDisks, "md-member-in-scsi-recovery"),
        on("constraints", judgeConstraints, "drbd-connected-secondary"),
        on("constraints", judgeConstraints, "drbd-synctarget"),
        on("constraints", judgeConstraints, "scsi-host-recovery"),
        {"drbdsetup", askDrbdsetup},
        {"isMDResync", [] { return read(Reading::localMDResync, isMDResync() ? "yes" : "no"); }},
        {"isDRBDConnect",
         [] { return read(Reading::drbdConnected, isDRBDConnect() ? "yes" : "no"); }},
        {"isDiskErrHandling", probeDisks},
        {"isHadConstraints",
         [] {
             const bool had = isHadConstraints();
             return Outcome{had ? "forbidden" : "allowed", had};
         }},
        {"networkNonOkRate", probeInterface},
        {"interface counters",
         [roots = captured("net-healthy")] { return countPackets(roots, "eth1"); }},
        {"memory record", [] { return collect(collectMemory, KernelRoots{}); }},
        {"process record", [] { return collect(collectProcesses, KernelRoots{}); }},
        {"disk record", [] { return collect(collectDiskUsage, KernelRoots{}); }},
    };
    all[all.size() - 2].tolerant = true;  // a process whose file cannot be read may have ended
    all[all.size() - 1].tolerant = true;
    return all;
}

}  // namespace koraha::faults
