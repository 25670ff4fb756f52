// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/disk_state.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

#include "hasupport/kernel/list_directory.h"
#include "hasupport/kernel/sysfs_reader.h"

namespace KORA::HA::Daemon::support {
namespace {

using namespace std::string_view_literals;

bool isDigits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

std::optional<std::uint32_t> readCounter(SysfsReader& sysfs, const UniqueFd& device,
                                         const char* name) {
    const auto line = sysfs.line(device, name);
    return line ? parseIoCounter(*line) : std::nullopt;
}

/// With native multipath a namespace belongs to a subsystem, and that to controllers: handling as
/// soon as one of them does, failed when all have.
void takeControllers(SysfsReader& sysfs, const std::string& subsystem, DiskState& disk) {
    std::size_t controllers = 0;
    std::size_t failed = 0;
    for (const std::string& entry : sysfs.entries(subsystem, "nvme")) {
        if (!isDigits(std::string_view(entry).substr(4))) {
            continue;
        }
        std::string path = subsystem;
        path += "/" + entry + "/state";
        const std::string word = sysfs.line(path).value_or("");
        disk.handling |= isHandlingState(word);
        failed += isFailedState(word) ? 1U : 0U;
        ++controllers;
    }
    disk.failed = controllers > 0 && failed == controllers;
}

}  // namespace

bool isHandlingState(std::string_view word) {
    return word == "blocked" || word == "created-blocked" || word == "resetting" ||
           word == "connecting";
}

bool isFailedState(std::string_view word) {
    constexpr std::array words{"offline"sv, "transport-offline"sv, "cancel"sv,          "deleted"sv,
                               "dead"sv,    "deleting"sv,          "deleting (no IO)"sv};
    return std::find(words.begin(), words.end(), word) != words.end();
}

bool isRecoveryState(std::string_view word) {
    return word == "recovery" || word == "cancel/recovery" || word == "deleted/recovery";
}

std::optional<std::uint32_t> parseIoCounter(std::string_view text) {
    if (text.substr(0, 2) != "0x") {
        return std::nullopt;
    }
    text.remove_prefix(2);
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, 16);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return number;
}

std::string_view scsiHostOf(std::string_view devicePath) {
    while (!devicePath.empty()) {
        const auto slash = std::min(devicePath.find('/'), devicePath.size());
        const std::string_view part = devicePath.substr(0, slash);
        if (part.substr(0, 4) == "host" && isDigits(part.substr(4))) {
            return part;
        }
        devicePath.remove_prefix(std::min(slash + 1, devicePath.size()));
    }
    return {};
}

DiskState readDiskState(const KernelRoots& roots, const std::string& name) {
    const std::string block = roots.sys + "/block/" + name;
    const std::string devicePath = block + "/device";
    SysfsReader sysfs;
    const UniqueFd device = sysfs.directory(devicePath);
    DiskState disk;
    // The link says where among the devices the disk is, its host included.
    disk.device = linkTarget(block);
    if (disk.device.empty()) {
        disk.device = sysfs.realPath(devicePath);
    }
    if (const auto word = sysfs.line(device, "state")) {
        disk.handling = isHandlingState(*word);
        disk.failed = isFailedState(*word);
    } else if (name.substr(0, 4) == "nvme") {
        takeControllers(sysfs, devicePath, disk);
    }
    const std::string_view host = scsiHostOf(disk.device);
    if (!host.empty()) {
        const std::string state = roots.sys + "/class/scsi_host/" + std::string(host) + "/state";
        disk.hostRecovers = isRecoveryState(sysfs.line(state).value_or(""));
    }
    disk.timeouts = readCounter(sysfs, device, "iotmo_cnt");
    disk.errors = readCounter(sysfs, device, "ioerr_cnt");
    disk.unreadable = sysfs.error();
    return disk;
}

}  // namespace KORA::HA::Daemon::support
