// SPDX-License-Identifier: Apache-2.0
#include "hasupport/probe/last_drbd_view.h"

#include <utility>

namespace KORA::HA::Daemon::support {

void LastDrbdView::keep(DrbdView view, SteadyClock::time_point now) {
    const std::lock_guard lock(mutex_);
    view_ = std::move(view);
    keptAt_ = now;
}

DrbdView LastDrbdView::get(SteadyClock::time_point now) const {
    const std::lock_guard lock(mutex_);
    if (!view_) {
        return {DrbdView::Answer::unknown, "drbdsetup has not answered yet", {}};
    }
    if (now - keptAt_ > goodFor) {
        return {DrbdView::Answer::unknown, "drbdsetup was last asked over 5 minutes ago", {}};
    }
    return *view_;
}

}  // namespace KORA::HA::Daemon::support
