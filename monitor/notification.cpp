// SPDX-License-Identifier: Apache-2.0
#include "monitor/notification.h"

#include "hasupport/exec.h"

namespace KORA::HA::Daemon {
namespace {

const std::string clusterTool = "/var/packages/Twinhold/target/sbin/koraha";

// Wait, in a process group of its own, with nothing inherited; see the support library's exec.h.
constexpr int execOptions = 187;

}  // namespace

bool sendNotification(const char* event, const std::string& value) {
    constexpr const char* endOfArguments = nullptr;
    return VLIBCExecl(clusterTool.c_str(), execOptions, "--notify", event, value.c_str(),
                      endOfArguments) != -1;
}

}  // namespace KORA::HA::Daemon
