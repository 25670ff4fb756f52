// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/watched_disks.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "hasupport/kernel/list_directory.h"
#include "hasupport/kernel/sysfs_reader.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr int depthLimit = 8;
constexpr std::size_t diskLimit = 1024;
constexpr std::size_t nameLimit = 64;

using Names = std::set<std::string>;

bool startsWith(std::string_view text, std::string_view with) {
    return text.substr(0, with.size()) == with;
}

/// True for a comma list that has `word` in it.
bool listHas(std::string_view list, std::string_view word) {
    while (!list.empty()) {
        const auto comma = list.find(',');
        if (list.substr(0, comma) == word) {
            return true;
        }
        list.remove_prefix(comma == std::string_view::npos ? list.size() : comma + 1);
    }
    return false;
}

class Topology {
  public:
    /// `devices` are the names of all block devices, sorted.
    Topology(const KernelRoots& roots, const std::vector<std::string>& devices)
        : block_(roots.sys + "/block/"), devices_(devices) {}

    /// Adds the disks under `device`, which may itself be one.
    void addDisksUnder(const std::string& device, Names& disks, int depth = 0) {
        const std::string slaves = block_ + device + "/slaves";
        const auto below = sysfs_.entries(slaves);
        if (below.empty()) {
            if (disks.size() < diskLimit) {
                disks.insert(device);
            }
            return;
        }
        if (depth == depthLimit) {
            return;
        }
        for (const std::string& name : below) {
            std::string link = slaves;
            link.append("/").append(name);
            addDisksUnder(wholeDevice(name, link), disks, depth + 1);
        }
    }

    /// The members of an array that md gave up.
    void addFaultyMembers(const std::string& array, Names& disks) {
        const std::string md = block_ + array + "/md";
        for (const std::string& entry : sysfs_.entries(md, "dev-")) {
            std::string member = md;
            member += "/" + entry;
            if (listHas(sysfs_.line(member + "/state").value_or(""), "faulty")) {
                addDisksUnder(wholeDevice(entry.substr(4), member + "/block"), disks);
            }
        }
    }

    bool isWatchable(const std::string& disk) {
        return isDevice(disk) && sysfs_.line(block_ + disk + "/removable").value_or("0") == "0";
    }

    int error() const { return sysfs_.error(); }

  private:
    bool isDevice(const std::string& name) const {
        return std::binary_search(devices_.begin(), devices_.end(), name);
    }

    /// A partition has no entry of its own among the block devices; its directory lies within its
    /// disk's.
    std::string wholeDevice(const std::string& name, const std::string& link) {
        if (isDevice(name)) {
            return name;
        }
        const std::string real = sysfs_.realPath(link);
        const auto parent = std::string(baseName(real.substr(0, real.rfind('/'))));
        return isDevice(parent) ? parent : name;
    }

    std::string block_;
    const std::vector<std::string>& devices_;
    SysfsReader sysfs_;
};

std::string deviceName(std::string_view named) {
    constexpr std::string_view directory = "/dev/";
    if (startsWith(named, directory)) {
        named.remove_prefix(directory.size());
    }
    const bool usable = !named.empty() && named.size() <= nameLimit && named.front() != '.' &&
                        named.find('/') == std::string_view::npos;
    return usable ? std::string(named) : std::string();
}

}  // namespace

std::optional<Names> watchedDisks(const KernelRoots& roots, const std::vector<std::string>& named) {
    const auto devices = listDirectory(roots.sys + "/block");
    if (!devices) {
        return std::nullopt;
    }
    Topology topology(roots, *devices);
    Names disks;
    Names faulty;
    for (const std::string& device : *devices) {
        const bool isArray = startsWith(device, "md");
        if (isArray) {
            topology.addFaultyMembers(device, faulty);
        }
        if (isArray || startsWith(device, "drbd")) {
            topology.addDisksUnder(device, disks);
            disks.erase(device);  // without disks beneath, the volume itself came back
        }
    }
    for (const std::string& name : named) {
        disks.insert(deviceName(name));
    }
    for (auto disk = disks.begin(); disk != disks.end();) {
        const bool keep = !disk->empty() && !faulty.contains(*disk) && topology.isWatchable(*disk);
        disk = keep ? std::next(disk) : disks.erase(disk);
    }
    if (topology.error() != 0) {
        errno = topology.error();
        return std::nullopt;
    }
    return disks;
}

}  // namespace KORA::HA::Daemon::support
