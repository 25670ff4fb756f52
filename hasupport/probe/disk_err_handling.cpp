#include <json/value.h>

#include <exception>
#include <mutex>
#include <string>

#include "hasupport/io/notice.h"
#include "hasupport/local_probes.h"
#include "hasupport/probe/disk_err_process.h"
#include "hasupport/settings/support_settings.h"
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
    noteGood(Reading::localDiskErrHandling);
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
    disks = Json::Value(Json::arrayValue);
    return support::fill(support::lookAtDisks(), disks);
} catch (const std::exception&) {
    return false;
}

}  // namespace KORA::HA::Daemon
