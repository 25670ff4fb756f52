// SPDX-License-Identifier: Apache-2.0
#include "hasupport/interface_checker.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <optional>
#include <string>

#include "hasupport/io/notice.h"
#include "hasupport/kernel/interface_name.h"
#include "hasupport/kernel/net_counters.h"
#include "hasupport/settings/link_addresses.h"
#include "hasupport/status/history.h"
#include "hasupport/status/readings.h"

namespace KORA::HA::Daemon {
namespace {

constinit support::Notice unreadable;

/// `error` is what reading came to; 0 and ENOENT say no more than that there are none.
void tellFailed(const std::string& interface, int error) {
    std::string reason = "\"" + interface + "\" is no interface name";
    if (support::isInterfaceName(interface)) {
        reason = "no counters of interface " + interface;
        if (error != 0 && error != ENOENT) {
            reason += std::string(": ") + std::strerror(error);
        }
    }
    unreadable.raise("cannot measure the failure rate: " + reason);
    support::noteFailed(support::Reading::netNonOkRate, reason);
}

}  // namespace

InterfaceChecker::InterfaceChecker() = default;
InterfaceChecker::~InterfaceChecker() = default;

bool InterfaceChecker::networkNonOkRate(float& rate) try {
    const std::string interface = support::linkAddresses().interface;
    errno = 0;
    const auto now = support::readNetCounters(support::KernelRoots{}, interface);
    if (!now) {
        tellFailed(interface, errno);
        return false;
    }
    std::optional<support::NetCounters> before;
    if (hasBaseline_) {
        before = support::NetCounters{good_, failed_, interfaceIndex_};
    }
    rate = support::failureRate(before, *now);
    good_ = now->good;
    failed_ = now->failed;
    interfaceIndex_ = now->interface;
    hasBaseline_ = true;
    unreadable.clear("the failure rate is measured again");
    support::noteGood(support::Reading::netNonOkRate);
    support::noteSample(support::SampleKind::netNonOkRate, rate);
    return true;
} catch (const std::exception& failure) {
    support::noteFailed(support::Reading::netNonOkRate, failure.what());
    return false;
}

}  // namespace KORA::HA::Daemon
