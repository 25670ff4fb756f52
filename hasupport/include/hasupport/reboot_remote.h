#pragma once

#include "hasupport/export.h"
#include "hasupport/status.h"

namespace KORA::HA::Daemon {

/// Restarts the peer. Made for one call.
class KORAHA_EXPORT RebootRemote {
  public:
    RebootRemote();
    virtual ~RebootRemote();

    /// Stamps the restart on disk, then asks the peer (or runs the configured command). True when
    /// the peer accepted or the command succeeded. Blocks for at most 1 second for a request and
    /// 60 seconds for a command.
    virtual bool operator()(Status& status);
};

}  // namespace KORA::HA::Daemon
