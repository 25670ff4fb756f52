#include <exception>

#include "hasupport/peer/known_disks.h"
#include "hasupport/peer/remote_state.h"
#include "hasupport/remote_probes.h"
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
    support::noteGood(Reading::remoteDiskErrHandling);
    for (const std::string& disk : support::onlyKnownDisks(remote.state->disks)) {
        disks.append(disk);
    }
    return remote.state->diskErrHandling;
}

}  // namespace

IsRemoteDiskErrHandling::IsRemoteDiskErrHandling() = default;
IsRemoteDiskErrHandling::~IsRemoteDiskErrHandling() = default;

bool IsRemoteDiskErrHandling::operator()(Json::Value& disks) {
    disks = Json::Value(Json::arrayValue);
    try {
        return doesPeerHandleErrors(disks);
    } catch (const std::exception&) {
        disks = Json::Value(Json::arrayValue);
        return false;
    }
}

}  // namespace KORA::HA::Daemon
