// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/kernel/md_view.cpp
// parser: hasupport/kernel/mdstat.cpp
#include <array>
#include <string>

#include "fuzz/fuzz_input.h"
#include "fuzz/kernel_tree.h"
#include "hasupport/kernel/md_view.h"
#include "hasupport/kernel/mdstat.h"

using namespace KORA::HA::Daemon::support;
using koraha::fuzz::require;

namespace {

constexpr std::array files{"array_state", "sync_action", "resync_start", "degraded"};

/// Without block devices, or with one that cannot be read, /proc/mdstat has the word.
void readFallback(std::string_view mdstat) {
    static koraha::fuzz::KernelTree empty;
    static koraha::fuzz::KernelTree odd;
    odd.set("sys/block/md0/md/array_state/a directory", "");
    const auto parsed = parseMdstat(mdstat);
    const bool absent = mdstat.starts_with('!');
    for (auto* const tree : {&empty, &odd}) {
        tree->set("proc/mdstat", mdstat);
        const MdView view = readMd(tree->roots());
        require(view.known == (!absent && parsed));
        require(!view.known || view.arrays.size() == parsed->size());
        require(view.known == view.reason.empty());
    }
}

}  // namespace

// The values of one array, in the order of `files`, and /proc/mdstat.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static koraha::fuzz::KernelTree tree;
    const auto values = koraha::fuzz::pieces(koraha::fuzz::textOf(data, size), files.size() + 1);
    readFallback(values.back());
    for (std::size_t i = 0; i < files.size(); ++i) {
        tree.set(std::string("sys/block/md0/md/") + files[i], values[i]);
    }
    const MdView view = readMd(tree.roots());
    require(view.known && view.arrays.size() == 1 && view.arrays.front().name == "md0");
    const bool degraded = values[3].find_first_of("123456789") != std::string_view::npos;
    require(degraded || !view.arrays.front().degraded);
    const std::string_view action = values[1];
    require(!view.arrays.front().resyncing ||
            action.find_first_of("rdi") != std::string_view::npos);
    require(!view.arrays.front().resyncing || !action.starts_with("check"));
    return 0;
}
