// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/net_counters.h"

#include <array>
#include <span>

#include "hasupport/io/read_file.h"
#include "hasupport/kernel/interface_name.h"
#include "hasupport/kernel/parse_number.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::array goodCounters{"rx_packets", "tx_packets"};
// Not rx_dropped: it counts frames of protocols that nobody here asked for.
constexpr std::array failedCounters{"rx_errors", "rx_missed_errors", "tx_errors", "tx_dropped"};

std::optional<std::uint64_t> readNumber(const std::string& path) {
    const auto line = readLine(path);
    return line ? parseUnsigned(*line) : std::nullopt;
}

std::optional<std::uint64_t> sumOf(const std::string& directory,
                                   std::span<const char* const> names) {
    std::uint64_t sum = 0;
    for (const char* const name : names) {
        const auto count = readNumber(directory + name);
        if (!count) {
            return std::nullopt;
        }
        sum += *count;
    }
    return sum;
}

}  // namespace

std::optional<NetCounters> readNetCounters(const KernelRoots& roots, const std::string& interface) {
    if (!isInterfaceName(interface)) {
        return std::nullopt;
    }
    const std::string device = roots.sys + "/class/net/" + interface;
    const auto good = sumOf(device + "/statistics/", goodCounters);
    const auto failed = sumOf(device + "/statistics/", failedCounters);
    if (!good || !failed) {
        return std::nullopt;
    }
    return NetCounters{*good, *failed, readNumber(device + "/ifindex").value_or(0)};
}

float failureRate(const std::optional<NetCounters>& before, const NetCounters& now) {
    if (!before || before->interface != now.interface || now.good < before->good ||
        now.failed < before->failed) {
        return 0.0F;
    }
    const auto good = static_cast<double>(now.good - before->good);
    const auto failed = static_cast<double>(now.failed - before->failed);
    return failed > 0.0 ? static_cast<float>(failed / (good + failed)) : 0.0F;
}

}  // namespace KORA::HA::Daemon::support
