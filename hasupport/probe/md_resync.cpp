// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <exception>

#include "hasupport/io/notice.h"
#include "hasupport/kernel/md_view.h"
#include "hasupport/local_probes.h"
#include "hasupport/status/flag_changes.h"
#include "hasupport/status/readings.h"

namespace KORA::HA::Daemon {
namespace {

constinit support::Notice unreadable;

}  // namespace

bool isMDResync() try {
    const support::MdView md = support::readMd(support::KernelRoots{});
    if (!md.known) {
        unreadable.raise("cannot tell whether md resynchronises: " + md.reason);
        support::noteFailed(support::Reading::localMDResync, md.reason);
        return false;
    }
    unreadable.clear("the state of md can be told again");
    const bool resyncing =
        std::any_of(md.arrays.begin(), md.arrays.end(),
                    [](const support::MdArray& array) { return array.resyncing; });
    support::noteFlag(support::Reading::localMDResync, resyncing);
    return resyncing;
} catch (const std::exception& failure) {
    support::noteFailed(support::Reading::localMDResync, failure.what());
    return false;
}

}  // namespace KORA::HA::Daemon
