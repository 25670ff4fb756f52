// SPDX-License-Identifier: Apache-2.0
#include <json/value.h>
#include <unistd.h>

#include "hasupport/local_probes.h"
#include "hasupport/remote_probes.h"
#include "log/running_flag.h"
#include "monitor/check_loops.h"
#include "monitor/interval.h"

namespace KORA::HA::Daemon {
namespace {

void checkLocal(Status& status, Json::Value& disks) {
    status.localDiskErrHandling = isDiskErrHandling(disks);
    status.setErrHandlingDisk(disks);
}

void checkRemote(Status& status) {
    status.remoteMDResync = IsRemoteMDResync()();
    Json::Value disks;
    status.remoteDiskErrHandling = IsRemoteDiskErrHandling()(disks);
    status.setErrHandlingDiskRemote(disks);
}

}  // namespace

bool nonBlockCheck(Status& status) {
    Json::Value localDisks(Json::arrayValue);
    while (isRunning()) {
        checkLocal(status, localDisks);
        if (status.isRemoteAlive()) {
            checkRemote(status);
        }
        sleep(static_cast<unsigned int>(checkInterval()));
    }
    return false;
}

}  // namespace KORA::HA::Daemon
