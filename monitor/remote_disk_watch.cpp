// SPDX-License-Identifier: Apache-2.0
#include "monitor/remote_disk_watch.h"

#include <json/value.h>

#include <map>
#include <string>

#include "config/int_daemon_conf.h"
#include "hasupport/local_probes.h"
#include "hasupport/reboot_remote.h"
#include "log/log_line.h"
#include "monitor/role.h"

namespace KORA::HA::Daemon {
namespace {

constexpr int sightingLine = 405;
constexpr int refusedLine = 414;
constexpr int restartLine = 416;

using DiskCounts = std::map<std::string, int>;  // only counts of at least 1

void decay(DiskCounts& counts) {
    for (auto entry = counts.begin(); entry != counts.end();) {
        if (entry->second > 1) {
            --entry->second;
            ++entry;
        } else {
            entry = counts.erase(entry);
        }
    }
}

// Counts and logs one sighting. True when the disk has reached the threshold: it then starts
// again from nothing.
bool countSighting(DiskCounts& counts, const std::string& disk) {
    const int count = ++counts[disk];
    logMessage(sightingLine, "[Disks Error Handling] Remote disk error handling(" +
                                 std::to_string(count) + "): " + disk);
    if (GetInt(THR_OF_RDISK_ERRHANDLE) > count) {
        return false;
    }
    counts.erase(disk);
    return true;
}

void restartRemote(Status& status) {
    if (isHadConstraints()) {
        logMessage(refusedLine,
                   "Too many errors on one disk, unable to restart remote active server due to "
                   "local constraints");
        return;
    }
    logMessage(restartLine, "Too many errors on one disk, restart remote active server");
    RebootRemote()(status);
}

}  // namespace

bool monitorRemoetDiskErrHandling(Status& status) {
    static DiskCounts counts;
    if (!status.remoteDiskErrHandling) {
        decay(counts);
        return false;
    }
    bool restartWanted = false;
    const Json::Value disks = status.getErrHandlingDiskRemote();
    for (const Json::Value& disk : disks) {
        if (countSighting(counts, disk.asString())) {
            restartWanted = true;
        }
    }
    if (restartWanted && !isLocalActive()) {
        restartRemote(status);
    }
    return true;
}

}  // namespace KORA::HA::Daemon
