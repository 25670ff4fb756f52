// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "hasupport/kernel/disk_err_watch.h"
#include "hasupport/kernel/drbd_view.h"
#include "hasupport/kernel/md_view.h"

namespace KORA::HA::Daemon::support {

/// Everything that the judgement about a restart of the peer rests on.
struct ConstraintInput {
    DrbdView drbd;
    bool drbdExpected = true;  ///< false: this pair mirrors without DRBD
    MdView md;
    DiskErrLook disks;
    std::string markerPath;       ///< a file there means maintenance
    bool restartAsked = false;    ///< this node asked for a restart only just now
    bool restartUnknown = false;  ///< when it last did cannot be read
};

/// One sentence for each reason why the peer must not be restarted now. A sentence stays the same
/// while its reason does.
std::vector<std::string> evaluateConstraints(const ConstraintInput& input);

}  // namespace KORA::HA::Daemon::support
