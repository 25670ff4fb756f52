// SPDX-License-Identifier: Apache-2.0
#include "monitor/remote_disk_watch.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/daemon/support/calls.h"
#include "tests/daemon/support/own_system.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

using namespace koraha::test;

const std::string restarts =
    "koraharemotemond:416 Too many errors on one disk, restart remote active server";
const std::string refuses =
    "koraharemotemond:414 Too many errors on one disk, unable to restart remote active server due "
    "to local constraints";

std::string sighting(int count, const std::string& disk) {
    return "koraharemotemond:405 [Disks Error Handling] Remote disk error handling(" +
           std::to_string(count) + "): " + disk;
}

void cyclesWith(int count, const Json::Value& disks) {
    Status status;
    status.setErrHandlingDiskRemote(disks);
    status.remoteDiskErrHandling = true;
    for (int i = 0; i < count; ++i) {
        EXPECT_TRUE(monitorRemoetDiskErrHandling(status));
    }
}

void cycles(int count, std::initializer_list<const char*> disks) {
    cyclesWith(count, jsonList(disks));
}

void quietCycles(int count) {
    Status status;
    status.setErrHandlingDiskRemote(jsonList({"sda", "sdb"}));
    for (int i = 0; i < count; ++i) {
        EXPECT_FALSE(monitorRemoetDiskErrHandling(status));
    }
}

TEST(RemoteDiskWatch, elevenCyclesLogCounts1To11AndTheTwelfthRestartsAndForgets) {
    inOwnSystem([] {
        Calls lines;
        for (int count = 1; count <= 11; ++count) {
            lines.push_back(sighting(count, "sda"));
        }
        cycles(11, {"sda"});
        EXPECT_EQ(lines, script().logLines);
        EXPECT_EQ(0U, script().count("isHadConstraints"));
        script().forgetCalls();
        cycles(1, {"sda"});
        EXPECT_EQ((Calls{"setErrHandlingDiskRemote [\"sda\"]", "getErrHandlingDiskRemote",
                         "daemonLog.set " + sighting(12, "sda"), "isHadConstraints",
                         "daemonLog.set " + restarts, "RebootRemote"}),
                  script().calls);
        cycles(1, {"sda"});
        EXPECT_EQ(sighting(1, "sda"), script().logLines.back());
    });
}

TEST(RemoteDiskWatch, thresholdOfOneOrZeroOrLessTriggersInTheFirstCycle) {
    for (const char* threshold : {"1", "0", "-3"}) {
        inOwnSystem([threshold] {
            configure(std::string(R"({"THR_OF_RDISK_ERRHANDLE": )") + threshold + "}");
            cycles(1, {"sda"});
            EXPECT_EQ((Calls{sighting(1, "sda"), restarts}), script().logLines);
            cycles(1, {"sda"});
            EXPECT_EQ(2, script().restarts);
        });
    }
}

TEST(RemoteDiskWatch, twoDisksReachingTheThresholdInOneCycleRestartOnceAndAreBothRemoved) {
    inOwnSystem([] {
        cycles(12, {"sda", "sdb"});
        EXPECT_EQ(1, script().restarts);
        EXPECT_EQ(restarts, script().logLines.back());
        script().forgetCalls();
        cycles(1, {"sda", "sdb"});
        EXPECT_EQ((Calls{sighting(1, "sda"), sighting(1, "sdb")}), script().logLines);
    });
}

TEST(RemoteDiskWatch, onlyTheDiskThatReachedTheThresholdIsRemoved) {
    inOwnSystem([] {
        cycles(6, {"sda"});
        cycles(6, {"sda", "sdb"});
        EXPECT_EQ(1, script().restarts);
        script().forgetCalls();
        cycles(1, {"sda", "sdb"});
        EXPECT_EQ((Calls{sighting(1, "sda"), sighting(7, "sdb")}), script().logLines);
    });
}

TEST(RemoteDiskWatch, sameDiskTwiceInOneListIsCountedTwiceInThatCycle) {
    inOwnSystem([] {
        cycles(1, {"sda", "sda"});
        EXPECT_EQ((Calls{sighting(1, "sda"), sighting(2, "sda")}), script().logLines);
        cycles(5, {"sda", "sda"});
        EXPECT_EQ(1, script().restarts);
    });
}

TEST(RemoteDiskWatch, diskCounts5ThenThreeQuietCyclesLeave2AndFiveLeaveNoEntry) {
    inOwnSystem([] {
        cycles(5, {"sda"});
        quietCycles(3);
        cycles(1, {"sda"});
        EXPECT_EQ(sighting(3, "sda"), script().logLines.back());
    });
    inOwnSystem([] {
        cycles(5, {"sda"});
        quietCycles(5);
        cycles(1, {"sda"});
        EXPECT_EQ(sighting(1, "sda"), script().logLines.back());
    });
}

TEST(RemoteDiskWatch, countAboveOneIsLessByOneAndACountOfOneIsGoneAfterAQuietCycle) {
    for (int count = 1; count <= 11; ++count) {
        inOwnSystem([count] {
            cycles(count, {"sda"});
            quietCycles(1);
            cycles(1, {"sda"});
            EXPECT_EQ(sighting(count, "sda"), script().logLines.back());
        });
    }
}

TEST(RemoteDiskWatch, everyDiskDecaysAndOnesAreRemovedWithoutDisturbingTheOthers) {
    inOwnSystem([] {
        cycles(1, {"sda", "sdb", "sdc", "sdd"});
        cycles(2, {"sdb", "sdd"});
        quietCycles(1);
        script().forgetCalls();
        cycles(1, {"sda", "sdb", "sdc", "sdd"});
        EXPECT_EQ(
            (Calls{sighting(1, "sda"), sighting(3, "sdb"), sighting(1, "sdc"), sighting(3, "sdd")}),
            script().logLines);
    });
}

TEST(RemoteDiskWatch, quietCycleLogsNothingAndDoesNotAskForTheList) {
    inOwnSystem([] {
        cycles(3, {"sda"});
        script().forgetCalls();
        quietCycles(2);
        EXPECT_EQ(0U, script().count("getErrHandlingDiskRemote"));
        EXPECT_TRUE(script().logLines.empty());
    });
}

TEST(RemoteDiskWatch, roleMarkerAtTheThresholdMeansNoMessageNoRestartAndAFreshCount) {
    inOwnSystem([] {
        touch(roleMarker);
        cycles(12, {"sda"});
        EXPECT_EQ(sighting(12, "sda"), script().logLines.back());
        EXPECT_EQ(0U, script().count("isHadConstraints"));
        EXPECT_EQ(0, script().restarts);
        cycles(1, {"sda"});
        EXPECT_EQ(sighting(1, "sda"), script().logLines.back());
    });
}

TEST(RemoteDiskWatch, directoryOfTheMarkersNameCountsAsTheRole) {
    inOwnSystem([] {
        ASSERT_EQ(0, ::mkdir(roleMarker, 0));
        cycles(12, {"sda"});
        EXPECT_EQ(0, script().restarts);
    });
}

TEST(RemoteDiskWatch, constraintsLogTheRefusalAndTheCountIsStillRemoved) {
    inOwnSystem([] {
        script().constraints = always(true);
        cycles(12, {"sda", "sdb"});
        EXPECT_EQ(25U, script().logLines.size());
        EXPECT_EQ(refuses, script().logLines.back());
        EXPECT_EQ(0, script().restarts);
        EXPECT_EQ(0, script().made["RebootRemote"]);
        cycles(1, {"sda"});
        EXPECT_EQ(sighting(1, "sda"), script().logLines.back());
    });
}

TEST(RemoteDiskWatch, restartIsGivenTheStatusAndItsResultIsIgnored) {
    inOwnSystem([] {
        configure(R"({"THR_OF_RDISK_ERRHANDLE": 1})");
        Status status;
        status.setErrHandlingDiskRemote(jsonList({"sda"}));
        status.remoteDiskErrHandling = true;
        Status* given = nullptr;
        script().rebootRemote = [&given](Status& asked) {
            given = &asked;
            return false;
        };
        EXPECT_TRUE(monitorRemoetDiskErrHandling(status));
        EXPECT_EQ(&status, given);
        EXPECT_EQ(restarts, script().logLines.back());
    });
}

TEST(RemoteDiskWatch, everyDiskIsLoggedBeforeTheRestartIsDecided) {
    inOwnSystem([] {
        configure(R"({"THR_OF_RDISK_ERRHANDLE": 2})");
        cycles(1, {"sdb"});
        script().forgetCalls();
        cycles(1, {"sdc", "sdb", "sda"});
        EXPECT_EQ((Calls{sighting(1, "sdc"), sighting(2, "sdb"), sighting(1, "sda"), restarts}),
                  script().logLines);
    });
}

// The configuration is loaded once in the daemon; here it changes between two disks of one list.
TEST(RemoteDiskWatch, thresholdIsReadAfreshForEveryDiskAfterItsLine) {
    inOwnSystem([] {
        script().onLogLine = [](const std::string& line) {
            if (line == sighting(1, "sdb")) {
                script().onLogLine = [](const std::string&) {};
                configure(R"({"THR_OF_RDISK_ERRHANDLE": 1})");
            }
        };
        cycles(1, {"sda", "sdb"});
        EXPECT_EQ(restarts, script().logLines.back());
        configure("{}");
        cycles(1, {"sda", "sdb"});
        EXPECT_EQ(sighting(1, "sdb"), script().logLines.back());
        EXPECT_EQ(sighting(2, "sda"), script().logLines.at(script().logLines.size() - 2));
    });
}

TEST(RemoteDiskWatch, thresholdIsReadAsAnInteger) {
    inOwnSystem([] {
        configure(R"({"THR_OF_RDISK_ERRHANDLE": 2.9})");
        cycles(2, {"sda"});
        EXPECT_EQ(1, script().restarts);
    });
}

TEST(RemoteDiskWatch, emptyListWithTheFlagSetChangesNothing) {
    inOwnSystem([] {
        cycles(3, {"sda"});
        cycles(20, {});
        cyclesWith(20, Json::Value());
        cycles(1, {"sda"});
        EXPECT_EQ(sighting(4, "sda"), script().logLines.back());
    });
}

TEST(RemoteDiskWatch, elementsAreTakenByTheirValueAsTextAndNotByTheirKey) {
    inOwnSystem([] {
        Json::Value object(Json::objectValue);
        object["1"] = "sdy";
        object["2"] = 7;
        cyclesWith(1, object);
        EXPECT_EQ((Calls{sighting(1, "sdy"), sighting(1, "7")}), script().logLines);
    });
}

TEST(RemoteDiskWatch, elementThatIsNoTextCountsUnderTheTextThatTheLibraryMakesOfIt) {
    inOwnSystem([] {
        Json::Value list(Json::arrayValue);
        list.append(7);
        list.append(true);
        list.append(Json::Value());
        cyclesWith(1, list);
        EXPECT_EQ((Calls{sighting(1, "7"), sighting(1, "true"), sighting(1, "")}),
                  script().logLines);
    });
}

TEST(RemoteDiskWatch, elementThatCannotBeTextThrowsAndNothingCatchesIt) {
    for (const Json::ValueType type : {Json::arrayValue, Json::objectValue}) {
        inOwnSystem([type] {
            Status status;
            Json::Value list = jsonList({"sda"});
            list.append(Json::Value(type));
            status.setErrHandlingDiskRemote(list);
            status.remoteDiskErrHandling = true;
            EXPECT_THROW(monitorRemoetDiskErrHandling(status), Json::Exception);
            EXPECT_EQ(Calls{sighting(1, "sda")}, script().logLines);
        });
    }
}

TEST(RemoteDiskWatch, restartIsRepeatedOnlyAfterThresholdFurtherSightings) {
    inOwnSystem([] {
        cycles(35, {"sda"});
        EXPECT_EQ(2, script().restarts);
        cycles(1, {"sda"});
        EXPECT_EQ(3, script().restarts);
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon
