// SPDX-License-Identifier: Apache-2.0
// How the watch over the disks follows a state from look to look.
#include "hasupport/kernel/disk_err_watch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/scratch_dir.h"
#include "tests/support/test_data.h"

namespace KORA::HA::Daemon::support {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Names = std::vector<std::string>;

/// A sysfs that changes from one captured state to the next, at one place.
class DiskErrWatchTest : public testing::Test {
  protected:
    void become(const std::string& state) {
        fs::remove_all(roots_.sys);
        fs::copy(koraha::test::testData(state + "/sys"), roots_.sys,
                 fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }

    std::string device(const std::string& disk) const { return roots_.sys + "/block/" + disk; }

    void write(const std::string& path, const std::string& text) {
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream(path) << text << '\n';
    }

    void hostIs(const std::string& word) {
        write(roots_.sys + "/class/scsi_host/host0/state", word);
    }

    koraha::test::ScratchDir scratch_;
    KernelRoots roots_{scratch_.path("proc"), scratch_.path("sys")};
    DiskErrWatch watch_{roots_, {"sda", "sdb", "sdc", "sdd", "nvme0n1", "nvme1n1"}};
};

TEST_F(DiskErrWatchTest, followsATimeOutFromRecoveryToTheEnd) {
    become("scsi-healthy");
    EXPECT_EQ(watch_.look().disks, Names{});
    become("scsi-medium-errors");
    EXPECT_EQ(watch_.look().disks, Names{}) << "errors alone are no error handling";
    become("scsi-host-recovery");
    EXPECT_EQ(watch_.look().disks, Names{"sda"});
    EXPECT_EQ(watch_.look().disks, Names{"sda"}) << "still at work, though nothing more timed out";
    become("scsi-recovered");
    EXPECT_EQ(watch_.look().disks, Names{});
    become("scsi-device-offline");
    EXPECT_EQ(watch_.look().disks, Names{}) << "given up for good";
    become("scsi-device-back");
    EXPECT_EQ(watch_.look().disks, Names{});
}

TEST_F(DiskErrWatchTest, seesARecoveryThatCameAndWentBetweenTwoLooks) {
    become("scsi-healthy");
    EXPECT_EQ(watch_.look().disks, Names{});
    become("scsi-recovered");
    EXPECT_EQ(watch_.peek().disks, Names{"sda"});
    EXPECT_EQ(watch_.peek().disks, Names{"sda"}) << "a peek takes nothing away";
    EXPECT_EQ(watch_.look().disks, Names{"sda"});
    EXPECT_EQ(watch_.look().disks, Names{});
}

TEST_F(DiskErrWatchTest, oldTimeOutsOfANeighbourDoNotCount) {
    become("scsi-recovered");
    EXPECT_EQ(watch_.look().disks, Names{});
    hostIs("recovery");
    EXPECT_EQ(watch_.look().disks, Names{}) << "nobody's command timed out: hot-plug, perhaps";
    write(device("sdb") + "/device/iotmo_cnt", "0x1");
    EXPECT_EQ(watch_.look().disks, Names{"sdb"});
}

TEST_F(DiskErrWatchTest, namesTheDiskWhenTheRecoveryBeginsAfterTheLookThatSawTheTimeOut) {
    const auto start = SteadyClock::now();
    become("scsi-healthy");
    EXPECT_EQ(watch_.look(start).disks, Names{});
    // The adapter aborts the command, while the host runs on.
    write(device("sdb") + "/device/iotmo_cnt", "0x1");
    EXPECT_EQ(watch_.look(start + 15s).disks, Names{"sdb"});
    EXPECT_EQ(watch_.look(start + 30s).disks, Names{});
    hostIs("recovery");
    EXPECT_EQ(watch_.peek(start + 45s).disks, Names{"sdb"});
    EXPECT_EQ(watch_.look(start + 45s).disks, Names{"sdb"});
    EXPECT_EQ(watch_.look(start + 15min).disks, Names{"sdb"}) << "as long as it lasts";
    hostIs("running");
    EXPECT_EQ(watch_.look(start + 16min).disks, Names{});
}

TEST_F(DiskErrWatchTest, aTimeOutLongPastIsNotBlamedForAnotherDisksRecovery) {
    const auto start = SteadyClock::now();
    become("scsi-healthy");
    EXPECT_EQ(watch_.look(start).disks, Names{});
    write(device("sdb") + "/device/iotmo_cnt", "0x1");
    EXPECT_EQ(watch_.look(start + 15s).disks, Names{"sdb"});
    const auto later = start + 15s + DiskErrWatch::recoveryFollowsWithin;
    hostIs("recovery");
    write(device("sda") + "/device/iotmo_cnt", "0x1");
    EXPECT_EQ(watch_.look(later).disks, Names{"sda"});
    EXPECT_EQ(watch_.look(later + 15s).disks, Names{"sda"});
}

TEST_F(DiskErrWatchTest, errorsCountWhileTheHostRecovers) {
    become("scsi-healthy");
    fs::remove(device("sda") + "/device/iotmo_cnt");  // kernels without that counter
    EXPECT_EQ(watch_.look().disks, Names{});
    write(device("sda") + "/device/ioerr_cnt", "0x2");
    hostIs("cancel/recovery");
    EXPECT_EQ(watch_.look().disks, Names{"sda"});
}

TEST_F(DiskErrWatchTest, aCounterThatWentBackStartsAnew) {
    become("scsi-recovered");
    EXPECT_EQ(watch_.look().disks, Names{});
    write(device("sda") + "/device/iotmo_cnt", "0x1");
    EXPECT_EQ(watch_.look().disks, Names{});
    write(device("sda") + "/device/iotmo_cnt", "0x2");
    EXPECT_EQ(watch_.look().disks, Names{"sda"});
}

TEST_F(DiskErrWatchTest, countersThatCannotBeReadAreNoGrowth) {
    become("scsi-healthy");
    EXPECT_EQ(watch_.look().disks, Names{});
    for (const char* const text : {"", "12", "0x", "0xzz", "0x123456789", "-0x1", "0x1 0x2"}) {
        write(device("sda") + "/device/iotmo_cnt", text);
        EXPECT_EQ(watch_.look().disks, Names{}) << text;
    }
}

TEST_F(DiskErrWatchTest, tellsABlockedDevice) {
    become("scsi-healthy");
    write(device("sdc") + "/device/state", "blocked");
    write(device("sdd") + "/device/state", "transport-offline");
    EXPECT_EQ(watch_.look().disks, Names{"sdc"});
}

TEST_F(DiskErrWatchTest, leavesRemovableDisksAlone) {
    become("scsi-healthy");
    write(device("sdc") + "/device/state", "blocked");
    write(device("sdc") + "/removable", "1");
    EXPECT_EQ(watch_.look().disks, Names{});
}

TEST_F(DiskErrWatchTest, followsTheControllersOfNvmeDisks) {
    fs::create_directories(roots_.sys + "/block");
    write(device("nvme0n1") + "/device/state", "live");
    // With native multipath the namespace belongs to a subsystem with controllers.
    write(device("nvme1n1") + "/device/nvme1/state", "live");
    write(device("nvme1n1") + "/device/nvme2/state", "live");
    EXPECT_EQ(watch_.look().disks, Names{});
    write(device("nvme0n1") + "/device/state", "resetting");
    write(device("nvme1n1") + "/device/nvme2/state", "connecting");
    EXPECT_EQ(watch_.look().disks, (Names{"nvme0n1", "nvme1n1"}));
    write(device("nvme0n1") + "/device/state", "dead");
    write(device("nvme1n1") + "/device/nvme2/state", "deleting (no IO)");
    EXPECT_EQ(watch_.look().disks, Names{});
}

TEST_F(DiskErrWatchTest, watchesTheDisksUnderVolumesOnly) {
    become("md-member-in-scsi-recovery");
    DiskErrWatch unnamed(roots_, {});
    write(device("sda") + "/device/state", "blocked");
    EXPECT_EQ(unnamed.look().disks, Names{"sdd"});
}

TEST_F(DiskErrWatchTest, leavesAFaultyMemberAlone) {
    become("md-member-in-scsi-recovery");
    write(device("md0") + "/md/dev-sdd/state", "faulty,write_error");
    EXPECT_EQ(watch_.look().disks, Names{});
}

TEST_F(DiskErrWatchTest, withoutSysfsNothingIsKnown) {
    const DiskErrLook found = watch_.look();
    EXPECT_FALSE(found.known);
    EXPECT_NE(found.reason, "");
    EXPECT_EQ(found.disks, Names{});
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
