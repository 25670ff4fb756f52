// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/kernel/disk_state.cpp
// parser: hasupport/kernel/disk_err_watch.cpp
// parser: hasupport/kernel/watched_disks.cpp
#include <algorithm>
#include <array>
#include <string>

#include "fuzz/fuzz_input.h"
#include "fuzz/kernel_tree.h"
#include "hasupport/kernel/disk_err_watch.h"

using namespace KORA::HA::Daemon::support;
using koraha::fuzz::require;

namespace {

constexpr std::array files{
    "sys/devices/host3/target3:0:0/3:0:0:0/state",      // 0: a SCSI disk
    "sys/devices/host3/target3:0:0/3:0:0:0/iotmo_cnt",  //
    "sys/devices/host3/target3:0:0/3:0:0:0/ioerr_cnt",  //
    "sys/class/scsi_host/host3/state",                  // 3: its host
    "sys/devices/nvme0/state",                          // 4: a controller with a disk of its own
    "sys/devices/nvme-subsys1/nvme1/state",             // 5: two ways to one disk
    "sys/devices/nvme-subsys1/nvme2/state",             //
    "sys/block/md0/md/dev-sda/state",                   // 7: the member of an array
    "sys/block/sda/removable",                          //
};

/// A SCSI disk under an array, and two NVMe disks under DRBD volumes.
struct Disks : koraha::fuzz::KernelTree {
    Disks() {
        link("sys/block/sda/device", "../../devices/host3/target3:0:0/3:0:0:0");
        link("sys/block/nvme0n1/device", "../../devices/nvme0");
        link("sys/block/nvme1n1/device", "../../devices/nvme-subsys1");
        link("sys/block/md0/slaves/sda", "../../sda");
        link("sys/block/md0/md/dev-sda/block", "../../../sda");
        link("sys/block/drbd0/slaves/nvme0n1", "../../nvme0n1");
        link("sys/block/drbd1/slaves/nvme1n1", "../../nvme1n1");
        link("sys/block/md1/slaves/sda1", "../../sda/sda1");  // a partition
        link("sys/block/md2/slaves/md2", "../../md2");        // beneath itself
        set("sys/devices/nvme-subsys1/nvme1c2n1/state", "live");
    }
};

/// Without block devices, and with files that cannot be read, nothing is known.
bool expectUnknown() {
    const koraha::fuzz::KernelTree empty;
    require(!DiskErrWatch(empty.roots(), {"sda"}).look().known);
    for (const char* const file : {"state", "../removable"}) {
        koraha::fuzz::KernelTree odd;
        odd.set(std::string("sys/block/sda/device/") + file + "/a directory", "");
        require(!DiskErrWatch(odd.roots(), {"sda"}).look().known);
    }
    return true;
}

}  // namespace

// The values of two looks, each in the order of `files`, and the name of a further disk.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Disks tree;
    static const bool unknown = expectUnknown();
    require(unknown);
    const auto values =
        koraha::fuzz::pieces(koraha::fuzz::textOf(data, size), 2 * files.size() + 1);
    DiskErrWatch watch(tree.roots(), {std::string(values.back())});
    for (std::size_t look = 0; look < 2; ++look) {
        for (std::size_t i = 0; i < files.size(); ++i) {
            tree.set(files[i], values[look * files.size() + i]);
        }
        const DiskErrLook peeked = watch.peek();
        const DiskErrLook found = watch.look();
        require(found.known && peeked.disks == found.disks && found.disks.size() <= 5);
        require(std::is_sorted(found.disks.begin(), found.disks.end()));
        const bool sda =
            std::find(found.disks.begin(), found.disks.end(), "sda") != found.disks.end();
        const auto value = [&](std::size_t i) { return values[look * files.size() + i]; };
        require(!sda || (value(0) != "offline" && value(7) != "faulty" && value(8) != "1"));
    }
    return 0;
}
