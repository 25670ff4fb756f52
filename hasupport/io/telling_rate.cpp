// SPDX-License-Identifier: Apache-2.0
#include "hasupport/io/telling_rate.h"

#include <algorithm>

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::chrono::seconds price{10};
constexpr int atOnce = 5;

}  // namespace

bool TellingRate::allows(SteadyClock::time_point now) {
    const std::lock_guard lock(mutex_);
    const auto paid = std::max(paidUntil_, now) + price;
    if (paid > now + price * atOnce) {
        return false;
    }
    paidUntil_ = paid;
    return true;
}

}  // namespace KORA::HA::Daemon::support
