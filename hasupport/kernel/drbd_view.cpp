// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/drbd_view.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "hasupport/io/read_file.h"
#include "hasupport/kernel/drbd_events.h"
#include "hasupport/kernel/proc_drbd.h"

namespace KORA::HA::Daemon::support {
namespace {

// From this version on /proc/drbd tells the version and nothing else.
constexpr std::uint64_t eventsVersion = 9;

DrbdView unknownBecause(std::string reason) {
    return {DrbdView::Answer::unknown, std::move(reason), {}};
}

DrbdView askDrbdsetup(Drbdsetup& drbdsetup, std::string_view peerAddress) {
    const DrbdsetupOutput output = drbdsetup.events();
    if (!output.failure.empty()) {
        return unknownBecause(output.failure);
    }
    auto resources = parseDrbdEvents(output.text, peerAddress);
    if (!resources) {
        return unknownBecause("the answer of drbdsetup is not understood");
    }
    return {DrbdView::Answer::known, {}, std::move(*resources)};
}

}  // namespace

std::optional<DrbdView> readDrbdFile(const KernelRoots& roots) {
    const auto text = readFile(roots.proc + "/drbd");
    if (!text) {
        const int error = errno;
        if (error == ENOENT) {
            return DrbdView{DrbdView::Answer::noModule, {}, {}};
        }
        return unknownBecause(std::string("/proc/drbd cannot be read: ") + std::strerror(error));
    }
    auto drbd = parseProcDrbd(*text);
    if (!drbd) {
        return unknownBecause("/proc/drbd is not understood");
    }
    if (drbd->resources.empty() && drbd->majorVersion >= eventsVersion) {
        return std::nullopt;
    }
    return DrbdView{DrbdView::Answer::known, {}, std::move(drbd->resources)};
}

DrbdView readDrbd(const KernelRoots& roots, Drbdsetup& drbdsetup, std::string_view peerAddress) {
    if (auto told = readDrbdFile(roots)) {
        return std::move(*told);
    }
    DrbdView view = askDrbdsetup(drbdsetup, peerAddress);
    view.fromDrbdsetup = true;
    return view;
}

}  // namespace KORA::HA::Daemon::support
