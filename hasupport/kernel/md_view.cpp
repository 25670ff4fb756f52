// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/md_view.h"

#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>

#include "hasupport/io/read_file.h"
#include "hasupport/kernel/list_directory.h"
#include "hasupport/kernel/mdstat.h"
#include "hasupport/kernel/parse_number.h"
#include "hasupport/kernel/sysfs_reader.h"

namespace KORA::HA::Daemon::support {
namespace {

/// An array that is auto-read-only starts its resync with the first write; until then its
/// sync_action says idle.
bool isPending(const std::string& state, const std::string& resyncStart) {
    return state == "read-auto" && !resyncStart.empty() && resyncStart != "none";
}

/// Nothing when a file could not be read.
std::optional<MdArray> readArray(const std::string& block, const std::string& name) {
    SysfsReader sysfs;
    const UniqueFd directory = sysfs.directory(block + name + "/md");
    // A missing file is normal: no redundancy, inactive, or the array was just stopped.
    const auto line = [&](const char* file) { return sysfs.line(directory, file).value_or(""); };
    const std::string state = line("array_state");
    const std::string action = line("sync_action");
    const std::string resyncStart = line("resync_start");
    const std::string degraded = line("degraded");
    if (sysfs.error() != 0) {
        return std::nullopt;
    }
    MdArray array;
    array.name = name;
    array.degraded = parseUnsigned(degraded).value_or(0) > 0;
    // Levels without redundancy have no sync_action, and nothing to resynchronise. A resync that
    // waits for another one says resync, too.
    array.resyncing = action == "resync" || action == "recover" || action == "reshape" ||
                      (action == "idle" && isPending(state, resyncStart));
    return array;
}

std::optional<std::vector<MdArray>> readSysfs(const KernelRoots& roots) {
    const std::string block = roots.sys + "/block/";
    const auto names = listDirectory(block, "md");
    if (!names || names->size() > mdArrayLimit) {
        return std::nullopt;
    }
    std::vector<MdArray> arrays;
    for (const std::string& name : *names) {
        auto array = readArray(block, name);
        if (!array) {
            return std::nullopt;
        }
        arrays.push_back(std::move(*array));
    }
    return arrays;
}

}  // namespace

MdView readMd(const KernelRoots& roots) {
    if (auto arrays = readSysfs(roots)) {
        return {true, {}, std::move(*arrays)};
    }
    const auto text = readFile(roots.proc + "/mdstat");
    if (!text) {
        return {false,
                std::string("neither sysfs nor /proc/mdstat tells: ") + std::strerror(errno),
                {}};
    }
    auto arrays = parseMdstat(*text);
    if (!arrays) {
        return {false, "/proc/mdstat is not understood", {}};
    }
    return {true, {}, std::move(*arrays)};
}

}  // namespace KORA::HA::Daemon::support
