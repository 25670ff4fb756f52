// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket/status_sources.h"

#include "hasupport/kernel/md_view.h"
#include "hasupport/probe/constraints.h"

namespace KORA::HA::Daemon::support {
namespace {

std::optional<std::vector<std::string>> readDegradedArrays() {
    const MdView view = readMd(KernelRoots());
    if (!view.known) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    for (const MdArray& array : view.arrays) {
        if (array.degraded) {
            names.push_back(array.name);
        }
    }
    return names;
}

}  // namespace

StatusSources::StatusSources()
    : constraints(&constraintsAtHand),
      lastRestart(&support::lastRestart),
      degradedArrays(&readDegradedArrays) {}

}  // namespace KORA::HA::Daemon::support
