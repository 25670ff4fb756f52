// SPDX-License-Identifier: Apache-2.0
#include <json/value.h>

#include <exception>
#include <mutex>
#include <string>

#include "hasupport/io/notice.h"
#include "hasupport/local_probes.h"
#include "hasupport/probe/disk_err_process.h"
#include "hasupport/settings/support_settings.h"
#include "hasupport/status/flag_changes.h"
#include "hasupport/status/readings.h"

namespace KORA::HA::Daemon {
namespace support {
namespace {

struct ProcessWatch {
    std::mutex mutex;
    DiskErrWatch watch{KernelRoots{}, supportSettings().disks};
};

ProcessWatch& processWatch() {
    static ProcessWatch process;
    return process;
}

constinit Notice unreadable;

void tellFailed(const std::string& reason) {
    unreadable.raise("cannot tell whether a disk is under error handling: " + reason);
    noteFailed(Reading::localDiskErrHandling, reason);
}

bool fill(const DiskErrLook& found, Json::Value& disks) {
    if (!found.known) {
        tellFailed(found.reason);
        return false;
    }
    unreadable.clear("the state of the disks can be told again");
    noteFlag(Reading::localDiskErrHandling, !found.disks.empty());
    for (const std::string& name : found.disks) {
        disks.append(name);
    }
    return !found.disks.empty();
}

}  // namespace

DiskErrLook lookAtDisks() {
    ProcessWatch& process = processWatch();
    const std::lock_guard lock(process.mutex);
    return process.watch.look();
}

DiskErrLook peekAtDisks() {
    ProcessWatch& process = processWatch();
    const std::lock_guard lock(process.mutex);
    return process.watch.peek();
}

}  // namespace support

bool isDiskErrHandling(Json::Value& disks) try {
    Json::Value found(Json::arrayValue);
    const bool handles = support::fill(support::lookAtDisks(), found);
    disks.swap(found);
    return handles;
} catch (const std::exception& failure) {
    support::noteFailed(support::Reading::localDiskErrHandling, failure.what());
    Json::Value none;  // an empty array would take memory
    disks.swap(none);
    return false;
}

}  // namespace KORA::HA::Daemon
