// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "hasupport/status.h"

namespace KORA::HA::Daemon::support {

/// Answers the peer's two requests, `state` and `restart`; the answer is one JSON object. A restart
/// is never obeyed for an unauthenticated peer. Does not block, but for starting a program.
std::string answerPeer(std::string_view payload, bool authenticated, Status& status);

}  // namespace KORA::HA::Daemon::support
