#include "monitor/remote_disk_watch.h"

#include <gtest/gtest.h>

#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

class RemoteDiskWatch : public testing::Test {
  protected:
    void cycles(int count, std::initializer_list<const char*> disks) {
        Json::Value list(Json::arrayValue);
        for (const char* disk : disks) {
            list.append(disk);
        }
        status.setErrHandlingDiskRemote(list);
        status.remoteDiskErrHandling = true;
        for (int i = 0; i < count; ++i) {
            EXPECT_TRUE(monitorRemoetDiskErrHandling(status));
        }
    }

    void quietCycles(int count) {
        status.remoteDiskErrHandling = false;
        for (int i = 0; i < count; ++i) {
            EXPECT_FALSE(monitorRemoetDiskErrHandling(status));
        }
    }

    Status status;
};

TEST_F(RemoteDiskWatch, elevenCyclesLogAndTheTwelfthRestarts) {
    cycles(11, {"sda"});
    EXPECT_EQ(11U, script().logLines.size());
    EXPECT_EQ(0, script().restarts);
    cycles(1, {"sda"});
    ASSERT_EQ(13U, script().logLines.size());
    EXPECT_EQ("koraharemotemond:405 [Disks Error Handling] Remote disk error handling(12): sda",
              script().logLines[11]);
    EXPECT_EQ("koraharemotemond:416 Too many errors on one disk, restart remote active server",
              script().logLines[12]);
    EXPECT_EQ(1, script().restarts);
    cycles(1, {"sda"});
    EXPECT_EQ("koraharemotemond:405 [Disks Error Handling] Remote disk error handling(1): sda",
              script().logLines.back());
}

TEST_F(RemoteDiskWatch, twoDisksAtTheThresholdRestartOnce) {
    cycles(12, {"sda", "sdb"});
    EXPECT_EQ(1, script().restarts);
}

TEST_F(RemoteDiskWatch, sameDiskTwiceInOneListIsCountedTwice) {
    cycles(6, {"sda", "sda"});
    EXPECT_EQ(1, script().restarts);
}

TEST_F(RemoteDiskWatch, countsDecayByOneACycle) {
    cycles(5, {"sda"});
    quietCycles(3);
    cycles(1, {"sda"});
    EXPECT_EQ("koraharemotemond:405 [Disks Error Handling] Remote disk error handling(3): sda",
              script().logLines.back());
    quietCycles(5);
    cycles(1, {"sda"});
    EXPECT_EQ("koraharemotemond:405 [Disks Error Handling] Remote disk error handling(1): sda",
              script().logLines.back());
}

TEST_F(RemoteDiskWatch, constraintsRefuseTheRestartAndTheCountStartsAgain) {
    script().constraints = always(true);
    cycles(12, {"sda"});
    EXPECT_EQ(
        "koraharemotemond:414 Too many errors on one disk, unable to restart remote active server "
        "due to local constraints",
        script().logLines.back());
    EXPECT_EQ(0, script().restarts);
    cycles(1, {"sda"});
    EXPECT_EQ("koraharemotemond:405 [Disks Error Handling] Remote disk error handling(1): sda",
              script().logLines.back());
}

}  // namespace
}  // namespace KORA::HA::Daemon
