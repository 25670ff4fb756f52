// SPDX-License-Identifier: Apache-2.0
// What the check loops read of the kernel, with few and with many things to look at, and the same
// files opened, read and closed without a thought. KORAHA_BENCH_TREES names an empty directory.
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>

#include <array>
#include <map>

#include "bench/programs/with_objects/kernel_trees.h"
#include "hasupport/kernel/disk_err_watch.h"
#include "hasupport/kernel/drbd_view.h"
#include "hasupport/kernel/md_view.h"
#include "hasupport/kernel/net_counters.h"

namespace {

namespace support = KORA::HA::Daemon::support;
using bench::KernelTree;

enum class Kind : std::uint8_t { disks, arrays, resources };

std::string placeFor(Kind kind, int count) {
    const char* const trees = std::getenv("KORAHA_BENCH_TREES");
    bench::need(trees != nullptr, "KORAHA_BENCH_TREES");
    return std::string(trees) + "/" + std::to_string(static_cast<int>(kind)) + "-" +
           std::to_string(count);
}

const KernelTree& treeOf(Kind kind, int count) {
    static std::map<std::pair<Kind, int>, KernelTree> trees;
    const auto found = trees.find({kind, count});
    if (found != trees.end()) {
        return found->second;
    }
    KernelTree tree(placeFor(kind, count));
    kind == Kind::disks    ? tree.addDisks(count)
    : kind == Kind::arrays ? tree.addArrays(count)
                           : tree.addResources(count);
    return trees.emplace(std::pair(kind, count), std::move(tree)).first->second;
}

void openReadClose(const std::string& path) {
    std::array<char, 4096> text;
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    bench::need(fd >= 0, path.c_str());
    benchmark::DoNotOptimize(::read(fd, text.data(), text.size()));
    ::close(fd);
}

void readPlainly(const KernelTree& tree) {
    for (const auto& path : tree.directories) {
        DIR* const directory = ::opendir(path.c_str());
        while (::readdir(directory) != nullptr) {
        }
        ::closedir(directory);
    }
    std::array<char, 4096> target;
    for (const auto& link : tree.links) {
        benchmark::DoNotOptimize(::readlink(link.c_str(), target.data(), target.size()));
    }
    for (const auto& file : tree.files) {
        openReadClose(file);
    }
}

void plainly(benchmark::State& state, Kind kind) {
    const KernelTree& tree = treeOf(kind, static_cast<int>(state.range(0)));
    for (auto _ : state) {
        readPlainly(tree);
    }
}

void diskPass(benchmark::State& state) {
    const auto count = static_cast<std::size_t>(state.range(0));
    support::DiskErrWatch watch(treeOf(Kind::disks, static_cast<int>(count)).roots, {});
    for (auto _ : state) {
        const auto look = watch.look();
        bench::need(look.known, "the disks cannot be looked at");
        benchmark::DoNotOptimize(look);
    }
}

void arrayPass(benchmark::State& state) {
    const KernelTree& tree = treeOf(Kind::arrays, static_cast<int>(state.range(0)));
    for (auto _ : state) {
        const auto view = support::readMd(tree.roots);
        bench::need(view.known && view.arrays.size() == static_cast<std::size_t>(state.range(0)),
                    "the arrays cannot be read");
    }
}

void resourcePass(benchmark::State& state) {
    const KernelTree& tree = treeOf(Kind::resources, static_cast<int>(state.range(0)));
    support::Drbdsetup none;
    for (auto _ : state) {
        const auto view = support::readDrbd(tree.roots, none, "10.77.0.2");
        bench::need(view.resources.size() == static_cast<std::size_t>(state.range(0)),
                    "the resources cannot be read");
    }
}

void interfacePass(benchmark::State& state) {
    for (auto _ : state) {
        bench::need(support::readNetCounters({}, "lo").has_value(), "lo has no counters");
    }
}

void interfacePlainly(benchmark::State& state) {
    const std::string device = "/sys/class/net/lo/";
    const std::array<std::string, 7> files{device + "statistics/rx_packets",
                                           device + "statistics/tx_packets",
                                           device + "statistics/rx_errors",
                                           device + "statistics/rx_missed_errors",
                                           device + "statistics/tx_errors",
                                           device + "statistics/tx_dropped",
                                           device + "ifindex"};
    for (auto _ : state) {
        for (const auto& file : files) {
            openReadClose(file);
        }
    }
}

void disksPlainly(benchmark::State& state) {
    plainly(state, Kind::disks);
}
void arraysPlainly(benchmark::State& state) {
    plainly(state, Kind::arrays);
}
void resourcesPlainly(benchmark::State& state) {
    plainly(state, Kind::resources);
}

BENCHMARK(interfacePass);
BENCHMARK(interfacePlainly);
BENCHMARK(diskPass)->Arg(4)->Arg(10)->Arg(100)->Arg(1000);
BENCHMARK(disksPlainly)->Arg(10)->Arg(100)->Arg(1000);
BENCHMARK(arrayPass)->Arg(1)->Arg(8)->Arg(32)->Arg(128);
BENCHMARK(arraysPlainly)->Arg(8)->Arg(32)->Arg(128);
BENCHMARK(resourcePass)->Arg(1)->Arg(8)->Arg(32)->Arg(128);
BENCHMARK(resourcesPlainly)->Arg(32);

}  // namespace

BENCHMARK_MAIN();
