// SPDX-License-Identifier: Apache-2.0
#include "tools/watch/page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>

#include "scene.h"
#include "tests/tools/records.h"

namespace {

using namespace koraha::test;  // NOLINT(google-build-using-namespace)
using korahamonctl::watch::Canvas;
using korahamonctl::watch::Cell;
using korahamonctl::watch::Ink;
using korahamonctl::watch::renderPage;
using korahamonctl::watch::Scene;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

Scene talkativeScene() {
    Scene scene = calmScene();
    for (int i = 0; i < 100; ++i) {
        scene.log.push_back("2026-11-21T10:03:20.000000Z koraharemotemond:331 line " +
                            std::to_string(i));
    }
    return scene;
}

TEST(Page, ShowsTheWholePairOnEightyByTwentyFour) {
    EXPECT_EQ(textOf(renderPage(calmScene(), 80, 24)),
              " node1  active  daemon 1.0.0, up 78 s                              10:03:20 UTC\n"
              "ALL IS WELL\n"
              "\n"
              "            THIS NODE                         PEER\n"
              "node        active                            alive  3 s\n"
              "disks       no error handling  3 s            no error handling  3 s\n"
              "arrays      no resync  3 s                    no resync  3 s\n"
              "degraded    none                              it does not tell\n"
              "\n"
              "DRBD        connected  3 s\n"
              "heartbeat   0.310 ms  3 s   (too slow from 100 ms on)\n"
              "packets     0.000000 failed  3 s   (too many from 0.001 of all on)\n"
              "\n"
              "            LAST HOUR, 1 min a block: 0.05 to 150 ms, 1 of 5 unanswered (x)\n"
              "latency     ·······················································▁▂x█·\n"
              "lost        ·······················································▁▁█▄·\n"
              "packets     ···························································▁\n"
              "constraints none\n"
              "LOG\n"
              "10:02:01  87 Create flag: /tmp/ha/ha_remote_busy\n"
              "10:03:19  libkorahadaemon: a line of another tag\n"
              "\n"
              "\n"
              " q quit   ? what is what   l events   up down page home end: scroll\n");
}

TEST(Page, KeepsWhatMattersMostOnFortyByTen) {
    Scene scene = calmScene();
    (*scene.status)["remoteAlive"] = false;
    EXPECT_EQ(textOf(renderPage(scene, 40, 10)),
              " node1  active             10:03:20 UTC\n"
              "ALARM: peer not alive\n"
              "          THIS NODE      PEER\n"
              "node      active         NOT ALIVE  3 s\n"
              "disks     no error hand… no error handl…\n"
              "arrays    no resync  3 s no resync  3 s\n"
              "DRBD      connected  3 s\n"
              "heartbeat 0.310 ms  3 s\n"
              "latency   ···························▁x█\n"
              " q quit  ? help  l events  up down\n");
}

TEST(Page, UsesTheRoomOfALargeTerminal) {
    Scene scene = talkativeScene();
    const Canvas page = renderPage(scene, 200, 60);
    const std::string text = textOf(page);
    EXPECT_THAT(text, HasSubstr("LAST HOUR, 30 s a block"));
    EXPECT_THAT(text, HasSubstr("\ndegraded    none"));
    EXPECT_THAT(page.text(58), "10:03:20  331 line 99");
    EXPECT_THAT(text, AllOf(HasSubstr("line 62"), Not(HasSubstr("line 50\n"))));
}

TEST(Page, ScrollsBack) {
    Scene scene = talkativeScene();
    scene.scrolledBack = 40;
    EXPECT_THAT(renderPage(scene, 80, 24).text(22), "10:03:20  331 line 59");
    EXPECT_THAT(textOf(renderPage(scene, 80, 24)), HasSubstr("LOG, 40 newer below"));
    scene.scrolledBack = 100'000;
    EXPECT_THAT(textOf(renderPage(scene, 80, 24)), Not(HasSubstr("line ")));
}

TEST(Page, ShowsEventsAndHelp) {
    Scene scene = calmScene();
    scene.showEvents = true;
    EXPECT_THAT(textOf(renderPage(scene, 80, 24)),
                AllOf(HasSubstr("EVENTS\n10:01:40  the peer is back from its restart\n"),
                      HasSubstr(" l log ")));
    scene.help = true;
    EXPECT_THAT(textOf(renderPage(scene, 80, 24)),
                AllOf(HasSubstr("\nKEYS\n"), HasSubstr("explain NUMBER"), HasSubstr(" any key")));
}

TEST(Page, ShowsUnknownAndStaleAsSuch) {
    Scene scene = calmScene();
    Json::Value& readings = (*scene.status)["readings"];
    readings["drbdConnected"]["valid"] = false;
    readings["drbdConnected"]["reason"] = "DRBD is not loaded";
    readings["localMDResync"]["ageSeconds"] = 300;
    readings["hbLatency"]["ageSeconds"] = Json::nullValue;
    const std::string text = textOf(renderPage(scene, 80, 24));
    EXPECT_THAT(text, HasSubstr("unknown: DRBD is not loaded  (last known 3 s ago)\n"));
    EXPECT_THAT(text, HasSubstr("arrays      STALE: no resync  5 min"));
    EXPECT_THAT(text, HasSubstr("STALE: 0.310 ms"));
    EXPECT_THAT(text, HasSubstr("\nNOT SURE: "));
}

TEST(Page, ValuesGrowOldWhileTheDaemonIsSilent) {
    Scene scene = calmScene();
    scene.statusAge = 400;
    scene.problem = "it has left";
    const std::string text = textOf(renderPage(scene, 80, 24));
    EXPECT_THAT(text, HasSubstr("\nTHE DAEMON DOES NOT ANSWER: it has left\n"
                                "Below is what it said 6 min ago.\n"));
    EXPECT_THAT(text, HasSubstr("STALE: alive  6 min"));
    EXPECT_THAT(text, Not(HasSubstr("ALL IS WELL")));
}

TEST(Page, SaysWhatItDoesNotKnowYet) {
    Scene scene;
    scene.problem = "no such file";
    EXPECT_THAT(textOf(renderPage(scene, 80, 24)),
                AllOf(HasSubstr("THE DAEMON DOES NOT ANSWER: no such file\n"),
                      HasSubstr("\nDRBD        unknown\n"), HasSubstr("nothing measured"),
                      HasSubstr("constraints unknown"), Not(HasSubstr("NOT ALIVE"))));
    scene.problem.clear();
    EXPECT_THAT(textOf(renderPage(scene, 80, 24)), HasSubstr("waiting for the daemon"));
}

TEST(Page, NeedsNoColours) {
    Scene scene = calmScene();
    (*scene.status)["localDiskErrHandling"] = true;
    (*scene.status)["errHandlingDisks"].append("sda");
    (*scene.status)["errHandlingDisksRemote"].append("sdx");
    (*scene.status)["degradedArrays"].append("md1");
    (*scene.status)["constraints"].append("an array is degraded: md1");
    (*scene.status)["hbLatency"] = 100.0;
    const std::string text = textOf(renderPage(scene, 80, 24));
    for (const char* part : {"ALARM: disk error handling here, degraded array md1\n",
                             "ERROR HANDLING  3 s", "now: sda", "now: sdx", "degraded    md1",
                             "100.000 ms TOO HIGH", "constraints an array is degraded: md1\n"}) {
        EXPECT_THAT(text, HasSubstr(part));
    }
}

TEST(Page, NamesDisksForNoMoreThanTheFlagThatGoesWithThem) {
    Scene scene = calmScene();
    Json::Value& status = *scene.status;
    status["errHandlingDisks"].append("sda");
    status["errHandlingDisksRemote"].append("sdx");
    status["readings"]["localDiskErrHandling"]["ageSeconds"] = 300;
    status["readings"]["remoteDiskErrHandling"]["valid"] = false;
    EXPECT_THAT(textOf(renderPage(scene, 80, 24)),
                HasSubstr("\nwhich       last known: sda                   last known: sdx\n"));
    status["readings"]["remoteDiskErrHandling"]["valid"] = true;
    const Canvas page = renderPage(scene, 40, 10);
    EXPECT_THAT(textOf(page), HasSubstr("\nwhich     STALE sda      now: sdx\n"));
    status["errHandlingDisks"].clear();
    EXPECT_THAT(textOf(renderPage(scene, 80, 24)), Not(HasSubstr("last known")));
}

TEST(Page, SumsUpTheHour) {
    Scene scene = calmScene();
    scene.history["samples"].clear();
    EXPECT_THAT(textOf(renderPage(scene, 80, 24)), HasSubstr("a block: nothing measured\n"));
    scene.history["samples"].append(latencySample(scene.now, 1500, 5, 1));
    EXPECT_THAT(textOf(renderPage(scene, 80, 24)),
                HasSubstr("a block: no round trip, 1 of 1 unanswered (x)\n"));
    scene.history["samples"][0] = latencySample(scene.now, 0.05, 5, 5);
    EXPECT_THAT(textOf(renderPage(scene, 80, 24)), HasSubstr("a block: 0.05 ms\n"));
}

TEST(Page, ShowsTheLastRestart) {
    Scene scene = calmScene();
    Json::Value& restart = (*scene.status)["lastRestart"];
    restart["agoSeconds"] = 600;
    restart["outcome"] = "back";
    restart["reason"] = "disk sdx";
    EXPECT_THAT(textOf(renderPage(scene, 80, 24)),
                HasSubstr("restart     10 min ago: back (disk sdx)\n"));
}

// Whatever comes in: every cell holds one harmless character, and the frame stays.
TEST(Page, BearsHostileText) {
    const std::string evil =
        "\x1b]0;x\x07\r\n\t\x9b"
        "2J\xc2\x9b\xff\xe2\x80\xae\xe5\xae\xb6\xcc\x81\xf0\x9f\x98\x80" +
        std::string(5000, 'w');
    Scene scene = calmScene();
    Json::Value& status = *scene.status;
    scene.host = evil;
    scene.problem = evil;
    scene.log = {evil, "2026-11-21T10:03:20.000000Z " + evil, "", "2026-11-21T10:03:20.000000Z"};
    for (const char* key :
         {"errHandlingDisks", "errHandlingDisksRemote", "constraints", "degradedArrays"}) {
        status[key].append(evil);
        status[key].append(7);
    }
    status["softwareVersion"] = evil;
    status["lastRestart"]["outcome"] = evil;
    status["lastRestart"]["agoSeconds"] = 1e300;
    status["uptimeSeconds"] = -1e300;
    status["readings"]["drbdConnected"]["reason"] = evil;
    status["readings"]["drbdConnected"]["valid"] = false;
    status["readings"]["hbLatency"] = evil;
    scene.history["events"][0]["text"] = evil;
    for (const bool events : {false, true}) {
        scene.showEvents = events;
        for (const auto& [width, height] :
             {std::tuple(80, 24), {40, 10}, {200, 60}, {1, 1}, {7, 3}}) {
            const Canvas page = renderPage(scene, width, height);
            for (int row = 0; row < height; ++row) {
                ASSERT_EQ(page.row(row).size(), static_cast<std::size_t>(width));
                for (const Cell& cell : page.row(row)) {
                    EXPECT_TRUE(cell.glyph >= 0x20 && cell.glyph != 0x7f &&
                                !(cell.glyph >= 0x80 && cell.glyph < 0xa0) && cell.glyph < 0x2600 &&
                                !(cell.glyph >= 0x2028 && cell.glyph < 0x2030))
                        << std::hex << static_cast<unsigned>(cell.glyph);
                }
            }
        }
    }
}

TEST(Page, BearsAnythingInThePlaceOfAStatus) {
    for (const char* text : {"[]", "7", "\"x\"", "{}", R"({"readings":7,"active":{},"pid":"x"})",
                             R"({"readings":{"hbLatency":[1]},"hbLatency":{},"lastRestart":[]})"}) {
        Scene scene = calmScene();
        scene.status = parsed(text);
        scene.history = parsed(text);
        EXPECT_THAT(textOf(renderPage(scene, 80, 24)), HasSubstr("DRBD        unknown")) << text;
    }
}

TEST(Page, IsAsciiWhereUtf8IsNotToBeHad) {
    Scene scene = calmScene();
    scene.host =
        "n\xc3\xb6"
        "de1";
    scene.scrolledBack = 0;
    Canvas page = renderPage(scene, 80, 24);
    EXPECT_THAT(page.text(0), StartsWith(" n\xc3\xb6"
                                         "de1"));
    page.makeAscii();
    EXPECT_THAT(page.text(0), StartsWith(" n?de1"));
    EXPECT_EQ(page.text(14), "latency     " + std::string(55, '.') + "_-x#.");
    for (int row = 0; row < 24; ++row) {
        for (const Cell& cell : page.row(row)) {
            EXPECT_LT(cell.glyph, 0x80U);
        }
    }
}

TEST(Page, MarksWhatIsBad) {
    Scene scene = calmScene();
    (*scene.status)["remoteAlive"] = false;
    const Canvas page = renderPage(scene, 80, 24);
    EXPECT_EQ(page.row(1).front().ink, Ink::bad);
    EXPECT_EQ(page.row(4).at(46).ink, Ink::bad);
    EXPECT_EQ(page.row(9).at(12).ink, Ink::good);
}

}  // namespace
