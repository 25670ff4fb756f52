// SPDX-License-Identifier: Apache-2.0
#include <exception>

#include "hasupport/peer/known_disks.h"
#include "hasupport/peer/remote_state.h"
#include "hasupport/remote_probes.h"
#include "hasupport/status/flag_changes.h"
#include "hasupport/status/readings.h"

namespace KORA::HA::Daemon {
namespace {

using support::Reading;

bool doesPeerHandleErrors(Json::Value& disks) {
    const support::RemoteState remote = support::lastOutcomeOrAsk();
    if (!remote.state) {
        support::noteFailed(Reading::remoteDiskErrHandling, remote.problem);
        return false;
    }
    if (!remote.state->diskErrHandlingUnknown.empty()) {
        support::noteFailed(Reading::remoteDiskErrHandling,
                            "unknown to the peer: " + remote.state->diskErrHandlingUnknown);
        return false;
    }
    support::noteFlag(Reading::remoteDiskErrHandling, remote.state->diskErrHandling);
    for (const std::string& disk : support::onlyKnownDisks(remote.state->disks)) {
        disks.append(disk);
    }
    return remote.state->diskErrHandling;
}

}  // namespace

IsRemoteDiskErrHandling::IsRemoteDiskErrHandling() = default;
IsRemoteDiskErrHandling::~IsRemoteDiskErrHandling() = default;

bool IsRemoteDiskErrHandling::operator()(Json::Value& disks) try {
    Json::Value found(Json::arrayValue);
    const bool handles = doesPeerHandleErrors(found);
    disks.swap(found);
    return handles;
} catch (const std::exception& failure) {
    support::noteFailed(Reading::remoteDiskErrHandling, failure.what());
    Json::Value none;  // an empty array would take memory
    disks.swap(none);
    return false;
}

}  // namespace KORA::HA::Daemon
