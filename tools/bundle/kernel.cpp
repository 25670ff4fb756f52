// SPDX-License-Identifier: Apache-2.0
#include "hasupport/io/read_file.h"
#include "hasupport/kernel/drbdsetup.h"
#include "hasupport/kernel/list_directory.h"
#include "tools/bundle/contents.h"

namespace korahamonctl::bundle {
namespace {

using KORA::HA::Daemon::support::Drbdsetup;
using KORA::HA::Daemon::support::listDirectory;
using KORA::HA::Daemon::support::readFile;

// Takes a file under its own path; one that cannot be read is left out, as most are not everywhere.
class PathTaker {
  public:
    PathTaker(const std::string& root, const Taker& take) : root_(root), take_(take) {}

    void take(const std::string& path) const {
        if (const auto text = readFile(root_ + path)) {
            take_(path.substr(1), *text);
        }
    }
    void takeAll(const std::string& directory, const char* prefix = "") const {
        for (const std::string& name : names(directory, prefix)) {
            take(std::string(directory).append("/").append(name));
        }
    }
    std::vector<std::string> names(const std::string& directory, const char* prefix = "") const {
        return listDirectory(root_ + directory, prefix).value_or(std::vector<std::string>());
    }

  private:
    const std::string& root_;
    const Taker& take_;
};

void takeInterfaces(const PathTaker& paths) {
    const std::string all = "/sys/class/net/";
    for (const std::string& name : paths.names("/sys/class/net")) {
        for (const char* fact : {"/operstate", "/carrier", "/mtu", "/speed", "/carrier_changes"}) {
            paths.take(all + name + fact);
        }
        paths.takeAll(all + name + "/statistics");
    }
}

void takeArray(const PathTaker& paths, const std::string& array) {
    for (const char* fact : {"array_state", "sync_action", "sync_completed", "degraded",
                             "raid_disks", "level", "resync_start", "mismatch_cnt"}) {
        paths.take(array + "/" + fact);
    }
    for (const std::string& member : paths.names(array, "dev-")) {
        paths.take(std::string(array).append("/").append(member).append("/state"));
    }
}

void takeDisks(const PathTaker& paths) {
    const std::string all = "/sys/block/";
    for (const std::string& name : paths.names("/sys/block")) {
        for (const char* fact :
             {"/size", "/removable", "/ro", "/stat", "/inflight", "/device/state", "/device/model",
              "/device/rev", "/device/ioerr_cnt", "/device/iotmo_cnt", "/device/iodone_cnt",
              "/device/iorequest_cnt", "/device/timeout"}) {
            paths.take(all + name + fact);
        }
        if (name.starts_with("md")) {
            takeArray(paths, all + name + "/md");
        }
    }
}

}  // namespace

void takeKernel(const std::string& root, int pid, const Taker& take) {
    const PathTaker paths(root, take);
    for (const char* path :
         {"/etc/os-release", "/proc/version", "/proc/uptime", "/proc/loadavg", "/proc/meminfo",
          "/proc/modules", "/proc/mdstat", "/proc/drbd", "/proc/net/dev", "/proc/net/tcp",
          "/proc/net/tcp6", "/proc/sys/kernel/random/boot_id",
          "/proc/sys/net/ipv4/ping_group_range"}) {
        paths.take(path);
    }
    const std::string process = "/proc/" + std::to_string(pid) + "/";
    for (const char* fact : {"cmdline", "status", "limits", "stat", "smaps_rollup"}) {
        if (pid > 0) {
            paths.take(process + fact);
        }
    }
    takeInterfaces(paths);
    takeDisks(paths);
    Drbdsetup drbdsetup({root + "/usr/sbin/drbdsetup", root + "/sbin/drbdsetup"});
    const auto events = drbdsetup.events();
    take("drbdsetup-events2.txt", events.text + events.failure + "\n");
}

}  // namespace korahamonctl::bundle
