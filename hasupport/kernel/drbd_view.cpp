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

DrbdView readDrbd(const KernelRoots& roots, Drbdsetup& drbdsetup, std::string_view peerAddress) {
    const auto text = readFile(roots.proc + "/drbd");
    if (!text) {
        const int error = errno;
        if (error == ENOENT) {
            return {DrbdView::Answer::noModule, {}, {}};
        }
        return unknownBecause(std::string("/proc/drbd cannot be read: ") + std::strerror(error));
    }
    auto drbd = parseProcDrbd(*text);
    if (!drbd) {
        return unknownBecause("/proc/drbd is not understood");
    }
    if (drbd->resources.empty() && drbd->majorVersion >= eventsVersion) {
        return askDrbdsetup(drbdsetup, peerAddress);
    }
    return {DrbdView::Answer::known, {}, std::move(drbd->resources)};
}

}  // namespace KORA::HA::Daemon::support
