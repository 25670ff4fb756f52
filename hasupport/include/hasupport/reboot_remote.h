// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/export.h"
#include "hasupport/status.h"

namespace KORA::HA::Daemon {

/// Restarts the peer. Made for one call, holds nothing; one thread at a time.
class KORAHA_EXPORT RebootRemote {
  public:
    RebootRemote();
    virtual ~RebootRemote();

    /// Stamps the restart on disk (restart.asked below /var/lib/ha), then asks the peer's service
    /// with proof of the key, or runs the command of hasupport.conf. True when the peer accepted or
    /// the command succeeded; false, with the reason in system log and history, when it was not
    /// tried (no stamp can be written, this node itself is on its way down) or did not succeed.
    /// `status` is only read, for the disks that are the reason. Blocks for as long as the stamp's
    /// disk takes, 1 second for a request and 62 seconds for a command. Never throws.
    virtual bool operator()(Status& status);
};

}  // namespace KORA::HA::Daemon
