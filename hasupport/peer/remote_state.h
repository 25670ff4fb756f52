// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/peer/state_message.h"

namespace KORA::HA::Daemon::support {

/// The outcome of asking the peer for its state: the state, or why there is none.
struct RemoteState {
    std::optional<PeerState> state;
    std::string problem;
};

/// Asks the peer now; at most 1 second. The outcome is kept for `lastOutcome`.
RemoteState askForState();

/// The outcome of the last exchange, once, if it is at most 2 seconds old; else asks anew.
RemoteState lastOutcomeOrAsk();

}  // namespace KORA::HA::Daemon::support
