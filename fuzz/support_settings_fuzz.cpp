// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/settings/support_settings.cpp without loadSupportSettings supportSettings
#include "fuzz/fuzz_input.h"
#include "hasupport/settings/support_settings.h"

using namespace KORA::HA::Daemon::support;
using koraha::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> problems;
    const auto settings =
        parseSupportSettings(std::string(koraha::fuzz::textOf(data, size)), problems);
    require(settings.peerPort > 0);
    require(settings.peerTimeoutMs >= 100 && settings.peerTimeoutMs <= 1000);
    require(settings.disks.size() <= 64);
    const auto& command = settings.restartCommand;
    require(command.empty() || command.front().front() == '/');
    require(settings.restart == RestartMethod::request || !command.empty());
    return 0;
}
