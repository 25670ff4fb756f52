// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <string>

#include "hasupport/io/read_file.h"
#include "hasupport/kernel/meminfo.h"
#include "hasupport/record/collect.h"

namespace KORA::HA::Daemon::support {
namespace {

// Those that tell a node's memory trouble; the other forty are of interest to kernel makers.
constexpr std::array recorded{"MemTotal",   "MemFree",    "MemAvailable", "Buffers",     "Cached",
                              "Active",     "Inactive",   "Mlocked",      "SwapTotal",   "SwapFree",
                              "Dirty",      "Writeback",  "AnonPages",    "Shmem",       "Slab",
                              "SUnreclaim", "PageTables", "CommitLimit",  "Committed_AS"};

}  // namespace

bool collectMemory(const KernelRoots& roots, const LineSink& sink) {
    const auto text = readFile(roots.proc + "/meminfo");
    if (!text) {
        return false;
    }
    RecordLine line("memory");
    bool any = false;
    for (const MemoryFigure& figure : parseMeminfo(*text)) {
        if (std::find(recorded.begin(), recorded.end(), figure.name) != recorded.end()) {
            line.number(std::string(figure.name) + "_kB", figure.kilobytes);
            any = true;
        }
    }
    if (any) {
        sink(line.str());
    }
    return any;
}

}  // namespace KORA::HA::Daemon::support
