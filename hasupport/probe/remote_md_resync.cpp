// SPDX-License-Identifier: Apache-2.0
#include <exception>

#include "hasupport/peer/remote_state.h"
#include "hasupport/remote_probes.h"
#include "hasupport/status/flag_changes.h"
#include "hasupport/status/readings.h"

namespace KORA::HA::Daemon {
namespace {

using support::Reading;

bool doesPeerResync() {
    const support::RemoteState remote = support::askForState();
    if (!remote.state) {
        support::noteFailed(Reading::remoteMDResync, remote.problem);
        return false;
    }
    if (!remote.state->mdResyncUnknown.empty()) {
        support::noteFailed(Reading::remoteMDResync,
                            "unknown to the peer: " + remote.state->mdResyncUnknown);
        return false;
    }
    support::noteFlag(Reading::remoteMDResync, remote.state->mdResync);
    return remote.state->mdResync;
}

}  // namespace

IsRemoteMDResync::IsRemoteMDResync() = default;
IsRemoteMDResync::~IsRemoteMDResync() = default;

bool IsRemoteMDResync::operator()() try {
    return doesPeerResync();
} catch (const std::exception& failure) {
    support::noteFailed(Reading::remoteMDResync, failure.what());
    return false;
}

}  // namespace KORA::HA::Daemon
