// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

#include "hasupport/io/read_file.h"
#include "hasupport/io/unique_fd.h"
#include "hasupport/kernel/mountinfo.h"
#include "hasupport/record/collect.h"

namespace KORA::HA::Daemon::support {
namespace {

/// Opens the mount point as a mere place: the file system is not asked for anything.
UniqueFd openPlace(const std::string& point) {
    return UniqueFd(::open(point.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

/// True when the place still belongs to the mount that was listed: something else may have been
/// mounted over it meanwhile. Takes the kernel's own knowledge, never the network's.
bool belongsTo(int place, const Mount& mount) {
    struct statx facts {};
    return ::statx(place, "", AT_EMPTY_PATH | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC, STATX_MNT_ID,
                   &facts) == 0 &&
           (facts.stx_mask & STATX_MNT_ID) != 0 && facts.stx_mnt_id == mount.id;
}

std::optional<struct statfs> usageOf(const Mount& mount) {
    const UniqueFd place = openPlace(mount.point);
    struct statfs usage {};
    if (!place || !belongsTo(place.get(), mount)) {
        return std::nullopt;
    }
    int result = -1;
    do {
        result = ::fstatfs(place.get(), &usage);
    } while (result != 0 && errno == EINTR);
    return result == 0 ? std::optional(usage) : std::nullopt;
}

std::string describe(const Mount& mount, const struct statfs& usage) {
    const auto block =
        static_cast<std::uint64_t>(usage.f_frsize != 0 ? usage.f_frsize : usage.f_bsize);
    const auto kilobytes = [block](std::uint64_t blocks) { return blocks * block / 1024; };
    RecordLine line("filesystem");
    line.text("mount", mount.point).text("device", mount.source).text("type", mount.type);
    line.number("size_kB", kilobytes(usage.f_blocks));
    line.number("used_kB", kilobytes(usage.f_blocks - usage.f_bfree));
    line.number("available_kB", kilobytes(usage.f_bavail));
    line.number("inodes", usage.f_files).number("inodesFree", usage.f_ffree);
    return line.flag("readOnly", mount.readOnly).str();
}

}  // namespace

bool collectDiskUsage(const KernelRoots& roots, const LineSink& sink) {
    const auto text = readFile(roots.proc + "/self/mountinfo");
    if (!text) {
        return false;
    }
    for (const Mount& mount : localMounts(parseMountinfo(*text))) {
        if (const auto usage = usageOf(mount)) {
            sink(describe(mount, *usage));
        }
    }
    return true;
}

}  // namespace KORA::HA::Daemon::support
