// SPDX-License-Identifier: Apache-2.0
// Kernel files that are missing, empty, cut off, enormous or unreadable: each file of some captured
// states in turn, before every reader.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "hasupport/kernel/disk_err_watch.h"
#include "hasupport/kernel/drbd_view.h"
#include "hasupport/kernel/md_view.h"
#include "hasupport/kernel/net_counters.h"
#include "hasupport/record/collect.h"
#include "tests/support/scratch_dir.h"
#include "tests/support/small_stack.h"
#include "tests/support/test_data.h"

namespace KORA::HA::Daemon::support {
namespace {

namespace fs = std::filesystem;

/// What a reader made of a tree, in words, and whether it says that it could not tell.
struct Result {
    std::string value;
    bool stated = false;
};

using Reader = std::function<Result(const KernelRoots&)>;

Result md(const KernelRoots& roots) {
    const MdView view = readMd(roots);
    std::string value;
    for (const MdArray& array : view.arrays) {
        value += array.name + (array.resyncing ? "r" : "") + (array.degraded ? "d" : "") + " ";
    }
    return {value, !view.known && !view.reason.empty()};
}

Result drbd(const KernelRoots& roots) {
    Drbdsetup none({}, Milliseconds(0));
    const DrbdView view = readDrbd(roots, none, "");
    std::string value = view.answer == DrbdView::Answer::noModule ? "no module" : "";
    for (const DrbdResource& each : view.resources) {
        value += each.name + (each.established ? "e" : "") + " ";
    }
    return {value, view.answer == DrbdView::Answer::unknown && !view.reason.empty()};
}

Result disks(const KernelRoots& roots) {
    DiskErrWatch watch(roots, {"sda", "sdb"});
    watch.look();
    const DiskErrLook found = watch.look();
    std::string value;
    for (const std::string& disk : found.disks) {
        value += disk + " ";
    }
    return {value, !found.known && !found.reason.empty()};
}

Result counters(const KernelRoots& roots) {
    const auto found = readNetCounters(roots, "eth0");
    return {found ? std::to_string(found->good) : "none", !found};
}

template <bool (*Collect)(const KernelRoots&, const LineSink&)>
Result record(const KernelRoots& roots) {
    std::size_t lines = 0;
    const bool good = Collect(roots, [&](const std::string& line) {
        EXPECT_EQ(line.find('\n'), std::string::npos);
        ++lines;
    });
    return {std::to_string(lines), !good};
}

const std::vector<Reader>& readers() {
    static const std::vector<Reader> all{
        md, drbd, disks, counters, record<collectMemory>, record<collectDiskUsage>};
    return all;
}

struct Damage {
    const char* name;
    void (*inflict)(const fs::path& file);
    bool mustBeStated;  ///< where it changes the result
};

void cutOff(const fs::path& file) {
    fs::resize_file(file, fs::file_size(file) / 2);
}
void empty(const fs::path& file) {
    fs::resize_file(file, 0);
}
void removeIt(const fs::path& file) {
    fs::remove(file);
}
void swell(const fs::path& file) {
    std::ofstream(file, std::ios::app) << std::string(std::size_t{2} << 20U, 'x');
}
// Opening a directory works, reading it does not, not even for root.
void makeUnreadable(const fs::path& file) {
    fs::remove(file);
    fs::create_directory(file);
}

constexpr Damage damages[] = {{"missing", removeIt, false},
                              {"empty", empty, false},
                              {"cut off", cutOff, false},
                              {"enormous", swell, true},
                              {"unreadable", makeUnreadable, true}};

class DamagedFiles : public ::testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        for (const char* const part : {"/proc", "/sys"}) {
            const fs::path from = koraha::test::testData(GetParam()) + part;
            const fs::path to = scratch_.path() + part;
            if (fs::exists(from)) {
                fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
            }
        }
        for (const Reader& reader : readers()) {
            intact_.push_back(reader(roots()));
        }
    }

    KernelRoots roots() const { return {scratch_.path("proc"), scratch_.path("sys")}; }

    std::vector<fs::path> files() const {
        std::vector<fs::path> all;
        for (const auto& entry : fs::recursive_directory_iterator(scratch_.path())) {
            if (entry.is_regular_file() && !entry.is_symlink()) {
                all.push_back(entry.path());
            }
        }
        return all;
    }

    void readAll(const fs::path& file, const Damage& damage) const {
        for (std::size_t i = 0; i < readers().size(); ++i) {
            const Result result = readers()[i](roots());
            EXPECT_TRUE(!damage.mustBeStated || result.stated || result.value == intact_[i].value)
                << "reader " << i << ", " << file << " " << damage.name << ": \"" << result.value
                << "\" instead of \"" << intact_[i].value << "\", without a word";
        }
    }

    koraha::test::ScratchDir scratch_;
    std::vector<Result> intact_;
};

TEST_P(DamagedFiles, NeverGiveAWrongValueWithoutAWord) {
    const fs::path kept = scratch_.path("kept");
    for (const fs::path& file : files()) {
        fs::rename(file, kept);
        for (const Damage& damage : damages) {
            fs::copy_file(kept, file);
            damage.inflict(file);
            koraha::test::onSmallStack([&] { readAll(file, damage); });
            fs::remove_all(file);
        }
        fs::rename(kept, file);
    }
}

INSTANTIATE_TEST_SUITE_P(States, DamagedFiles,
                         ::testing::Values("md-degraded-faulty", "md-resync", "drbd-synctarget",
                                           "scsi-host-recovery", "md-member-in-scsi-recovery",
                                           "net-healthy"),
                         [](const auto& each) {
                             std::string name = each.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

}  // namespace
}  // namespace KORA::HA::Daemon::support
