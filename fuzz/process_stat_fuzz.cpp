// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/kernel/process_stat.cpp
#include "fuzz/fuzz_input.h"
#include "hasupport/kernel/process_stat.h"
#include "hasupport/record/record_line.h"

using namespace KORA::HA::Daemon::support;
using koraha::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = koraha::fuzz::textOf(data, size);
    if (const auto stat = parseProcessStat(text)) {
        require(text.find(stat->name) != std::string_view::npos);
        require(!stat->isKernelThread() || stat->flags != 0);
        // A process gives itself its name: it must not be able to make a second field of it.
        RecordLine line("process");
        const std::string written = line.text("name", stat->name).number("pid", stat->pid).str();
        require(written.find('\n') == std::string::npos);
        require(written.ends_with(" pid=" + std::to_string(stat->pid)));
    }
    for (const char* const key : {"VmLck", "VmSwap"}) {
        require(!parseStatusKilobytes(text, key) || text.find(key) != std::string_view::npos);
    }
    return 0;
}
