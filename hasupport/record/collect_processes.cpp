// SPDX-License-Identifier: Apache-2.0
#include <dirent.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "hasupport/io/read_file.h"
#include "hasupport/kernel/parse_number.h"
#include "hasupport/kernel/process_stat.h"
#include "hasupport/record/collect.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t listedLimit = 1024;
constexpr std::size_t statLimit = 4096;
constexpr std::size_t statusLimit = 16384;

struct CloseDirectory {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

struct Tally {
    std::uint64_t processes = 0;
    std::uint64_t kernelThreads = 0;
    std::uint64_t listed = 0;
};

/// Kernel threads come by the hundred and mostly sleep: one that hangs is worth a line.
bool isWorthALine(const ProcessStat& stat) {
    return !stat.isKernelThread() || stat.state == 'D';
}

std::string describe(const ProcessStat& stat, const std::string& directory) {
    const auto pageKilobytes = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)) / 1024;
    const auto ticks = static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK));
    const std::string status = readWholeRecord(directory + "/status", statusLimit).value_or("");
    RecordLine line("process");
    line.number("pid", stat.pid).number("ppid", stat.parent).text("name", stat.name);
    line.text("state", std::string_view(&stat.state, 1)).number("threads", stat.threads);
    line.number("rss_kB", stat.residentPages * pageKilobytes);
    if (const auto locked = parseStatusKilobytes(status, "VmLck")) {
        line.number("locked_kB", *locked);
    }
    if (const auto swapped = parseStatusKilobytes(status, "VmSwap")) {
        line.number("swap_kB", *swapped);
    }
    line.number("user_ms", stat.userTicks * 1000 / ticks);
    line.number("system_ms", stat.systemTicks * 1000 / ticks);
    line.number("start_s", stat.startTicks / ticks);
    return line.str();
}

void collectOne(const std::string& directory, Tally& tally, const LineSink& sink) {
    const auto text = readWholeRecord(directory + "/stat", statLimit);
    const auto stat = text ? parseProcessStat(*text) : std::nullopt;
    if (!stat) {
        return;  // it has ended since
    }
    (stat->isKernelThread() ? tally.kernelThreads : tally.processes) += 1;
    if (isWorthALine(*stat) && tally.listed < listedLimit) {
        tally.listed += 1;
        sink(describe(*stat, directory));
    }
}

}  // namespace

bool collectProcesses(const KernelRoots& roots, const LineSink& sink) {
    const std::unique_ptr<DIR, CloseDirectory> proc(::opendir(roots.proc.c_str()));
    if (!proc) {
        return false;
    }
    Tally tally;
    while (const dirent* const entry = ::readdir(proc.get())) {
        const std::string name(static_cast<const char*>(entry->d_name));
        if (parseUnsigned(name)) {
            collectOne(roots.proc + "/" + name, tally, sink);
        }
    }
    if (tally.processes + tally.kernelThreads == 0) {
        return false;
    }
    RecordLine line("processes");
    line.number("processes", tally.processes).number("kernelThreads", tally.kernelThreads);
    sink(line.number("listed", tally.listed).str());
    return true;
}

}  // namespace KORA::HA::Daemon::support
