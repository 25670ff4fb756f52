// SPDX-License-Identifier: Apache-2.0
#include "hasupport/record/collect.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "hasupport/io/read_file.h"
#include "hasupport/kernel/mountinfo.h"
#include "hasupport/status/history.h"
#include "hasupport/status/readings.h"
#include "tests/support/in_namespace.h"
#include "tests/support/scratch_dir.h"

namespace {

using KORA::HA::Daemon::Status;
using koraha::test::ScratchDir;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;
namespace support = KORA::HA::Daemon::support;

class Collect : public ::testing::Test {
  protected:
    support::KernelRoots roots() const { return {dir_.path(), dir_.path()}; }
    support::LineSink sink() {
        return [this](const std::string& line) { lines_.push_back(line); };
    }
    void addProcess(int pid, const std::string& name, const std::string& stateAndParent,
                    const std::string& flags) const {
        dir_.write(std::to_string(pid) + "/stat",
                   std::to_string(pid) + " (" + name + ") " + stateAndParent + " 1 1 0 -1 " +
                       flags + " 0 0 0 0 250 50 0 0 20 0 3 0 700 1000 10 0\n");
    }

    ScratchDir dir_;
    std::vector<std::string> lines_;
};

TEST_F(Collect, MemoryIsOneLine) {
    dir_.write("meminfo",
               "MemTotal:  100 kB\nMemFree: 50 kB\nVmallocTotal: 9 kB\nCommitted_AS: 7 kB\n"
               "HugePages_Total: 0\n");
    EXPECT_TRUE(support::collectMemory(roots(), sink()));
    EXPECT_THAT(lines_,
                ElementsAre("record=memory MemTotal_kB=100 MemFree_kB=50 Committed_AS_kB=7"));
}

TEST_F(Collect, MemoryWithoutASourceIsAFailure) {
    EXPECT_FALSE(support::collectMemory(roots(), sink()));
    dir_.write("meminfo", "rubbish\n");
    EXPECT_FALSE(support::collectMemory(roots(), sink()));
    EXPECT_THAT(lines_, IsEmpty());
}

TEST_F(Collect, ProcessesAreOneLineEach) {
    addProcess(42, "evil) state=Z\nname=x", "S 7", "4194560");
    dir_.write("42/status", "Name:\tevil\nVmLck:\t 3264 kB\nVmSwap:\t 5 kB\n");
    dir_.write("notes/stat", "1 (x) S");
    EXPECT_TRUE(support::collectProcesses(roots(), sink()));
    EXPECT_THAT(lines_,
                ElementsAre("record=process pid=42 ppid=7 "
                            "name=evil)\\x20state\\x3dZ\\x0aname\\x3dx state=S threads=3 rss_kB=40 "
                            "locked_kB=3264 swap_kB=5 user_ms=2500 system_ms=500 start_s=7",
                            "record=processes processes=1 kernelThreads=0 listed=1"));
}

TEST_F(Collect, KernelThreadsAreCountedAndListedWhenTheyHang) {
    addProcess(2, "kthreadd", "S 0", "2129984");
    addProcess(90, "drbd_w_r0", "D 2", "2129984");
    EXPECT_TRUE(support::collectProcesses(roots(), sink()));
    ASSERT_EQ(lines_.size(), 2U);
    EXPECT_THAT(lines_[0], HasSubstr(" name=drbd_w_r0 state=D "));
    EXPECT_EQ(lines_[1], "record=processes processes=0 kernelThreads=2 listed=1");
}

TEST_F(Collect, TheListOfProcessesIsBounded) {
    for (int pid = 1; pid <= 1100; ++pid) {
        addProcess(pid, "p", "S 0", "0");
    }
    EXPECT_TRUE(support::collectProcesses(roots(), sink()));
    EXPECT_EQ(lines_.size(), 1025U);
    EXPECT_EQ(lines_.back(), "record=processes processes=1100 kernelThreads=0 listed=1024");
}

TEST_F(Collect, NoProcessesAtAllIsAFailure) {
    EXPECT_FALSE(support::collectProcesses(roots(), sink()));
    EXPECT_FALSE(support::collectProcesses({dir_.path("none"), ""}, sink()));
}

TEST_F(Collect, TheRunningSystemListsThisTest) {
    EXPECT_TRUE(support::collectProcesses({}, sink()));
    EXPECT_THAT(lines_,
                Contains(StartsWith("record=process pid=" + std::to_string(::getpid()) + " ")));
    lines_.clear();
    EXPECT_TRUE(support::collectMemory({}, sink()));
    EXPECT_THAT(lines_, ElementsAre(StartsWith("record=memory MemTotal_kB=")));
}

TEST_F(Collect, TheRunningSystemsLocalFileSystemsAreMeasured) {
    ASSERT_TRUE(support::collectDiskUsage({}, sink()));
    const auto local = support::localMounts(
        support::parseMountinfo(support::readFile("/proc/self/mountinfo").value()));
    for (const std::string& line : lines_) {
        EXPECT_THAT(line, StartsWith("record=filesystem mount=/"));
        EXPECT_THAT(line, HasSubstr(" device=/dev/"));
    }
    for (const auto& mount : local) {
        struct statvfs usage {};
        if (::statvfs(mount.point.c_str(), &usage) == 0) {
            EXPECT_THAT(lines_,
                        Contains(HasSubstr(" size_kB=" +
                                           std::to_string(usage.f_blocks * usage.f_frsize / 1024))))
                << mount.point;
        }
    }
}

TEST_F(Collect, AMountThatIsNoLongerThereIsLeftOut) {
    dir_.write("self/mountinfo", "4000000000 1 254:0 / / rw - ext4 /dev/vda rw\n");
    EXPECT_TRUE(support::collectDiskUsage(roots(), sink()));
    EXPECT_THAT(lines_, IsEmpty());
    EXPECT_FALSE(support::collectDiskUsage({dir_.path("none"), ""}, sink()));
}

TEST_F(Collect, AFileSystemWhoseServerHangsHoldsNothingUp) {
    koraha::test::inOwnMounts([this] {
        // A user process serves this one, and never does: asking it for its usage takes for ever.
        const int device = ::open("/dev/fuse", O_RDWR | O_CLOEXEC);
        ASSERT_GE(device, 0);
        const std::string options = "fd=" + std::to_string(device) +
                                    ",rootmode=40000,user_id=" + std::to_string(::getuid()) +
                                    ",group_id=" + std::to_string(::getgid());
        ASSERT_EQ(::mount("/dev/fuse", dir_.path().c_str(), "fuse", 0, options.c_str()), 0);
        EXPECT_TRUE(support::collectDiskUsage({}, sink()));
        EXPECT_THAT(lines_, Not(Contains(HasSubstr(dir_.path()))));
    });
}

TEST_F(Collect, RunsOnTheStackOfARoutine) {
    koraha::test::onRoutineStack([this] {
        Status status;
        std::uint64_t mark = 0;
        EXPECT_TRUE(support::collectMemory({}, sink()));
        EXPECT_TRUE(support::collectProcesses({}, sink()));
        EXPECT_TRUE(support::collectDiskUsage({}, sink()));
        EXPECT_TRUE(support::collectStatus(status, mark, sink()));
    });
}

TEST_F(Collect, TheStatusIsOneLineAndOneForEachReading) {
    Status status;
    status.hbLatency = 0.25F;
    status.drbdConnected = true;
    status.setRemoteAlive(true);
    Json::Value disks(Json::arrayValue);
    disks.append("sda");
    disks.append("evil disk=x");
    disks.append(5);
    status.setErrHandlingDiskRemote(disks);
    support::noteFailed(support::Reading::localMDResync, "no such file");
    std::uint64_t mark = ~0ULL;
    EXPECT_TRUE(support::collectStatus(status, mark, sink()));
    ASSERT_EQ(lines_.size(), 1 + support::readingCount);
    EXPECT_EQ(lines_[0],
              "record=status remoteAlive=true drbdConnected=true remoteMDResync=false "
              "remoteDiskErrHandling=false localMDResync=false localDiskErrHandling=false "
              "netNonOkRate=0.000000 hbLatency=0.250000 errHandlingDisks= "
              "errHandlingDisksRemote=sda,evil\\x20disk\\x3dx");
    EXPECT_THAT(lines_, Contains(HasSubstr("name=localMDResync valid=false")));
    EXPECT_THAT(lines_, Contains(HasSubstr("reason=no\\x20such\\x20file")));
}

TEST_F(Collect, EverySampleIsRecordedOnce) {
    Status status;
    std::uint64_t mark = 0;
    support::collectStatus(status, mark, [](const std::string&) {});
    support::noteSample(support::SampleKind::hbLatency, 1.5F, 5, 4);
    support::noteSample(support::SampleKind::netNonOkRate, 0.25F);
    EXPECT_TRUE(support::collectStatus(status, mark, sink()));
    ASSERT_GE(lines_.size(), 2U);
    const std::string rate = lines_.back();
    const std::string latency = lines_.at(lines_.size() - 2);
    EXPECT_THAT(latency, StartsWith("record=sample time=2"));
    EXPECT_THAT(latency, HasSubstr(" kind=hbLatency value=1.500000 sent=5 answered=4"));
    EXPECT_THAT(rate, HasSubstr(" kind=netNonOkRate value=0.250000"));
    lines_.clear();
    EXPECT_TRUE(support::collectStatus(status, mark, sink()));
    EXPECT_THAT(lines_, Not(Contains(StartsWith("record=sample"))));
}

}  // namespace
