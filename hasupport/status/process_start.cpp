// SPDX-License-Identifier: Apache-2.0
#include "hasupport/status/process_start.h"

namespace KORA::HA::Daemon::support {
namespace {

constinit SteadyClock::time_point start;

__attribute__((constructor)) void noteStart() {
    start = SteadyClock::now();
}

}  // namespace

SteadyClock::time_point processStart() {
    return start;
}

}  // namespace KORA::HA::Daemon::support
