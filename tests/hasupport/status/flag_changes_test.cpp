// SPDX-License-Identifier: Apache-2.0
#include "hasupport/status/flag_changes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "hasupport/status/history.h"

namespace {

using namespace KORA::HA::Daemon::support;  // NOLINT(google-build-using-namespace)
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> eventsSince(std::size_t sequence) {
    std::vector<std::string> texts;
    for (const Event& event : recentEvents()) {
        if (event.sequence > sequence) {
            texts.push_back(event.text);
        }
    }
    return texts;
}

std::size_t lastSequence() {
    const std::vector<Event> events = recentEvents();
    return events.empty() ? 0 : events.back().sequence;
}

TEST(FlagChanges, BecomeEventsAndNothingElseDoes) {
    noteFlag(Reading::drbdConnected, true);  // whatever it was before
    const std::size_t start = lastSequence();
    noteFlag(Reading::drbdConnected, true);
    EXPECT_THAT(eventsSince(start), IsEmpty());
    noteFlag(Reading::drbdConnected, false);
    noteFlag(Reading::drbdConnected, false);
    noteFailed(Reading::drbdConnected, "unreadable");
    noteFlag(Reading::drbdConnected, false);  // unknown in between is no change
    noteFlag(Reading::drbdConnected, true);
    EXPECT_THAT(eventsSince(start), ElementsAre("DRBD is not connected", "DRBD is connected"));
    EXPECT_TRUE(readingState(Reading::drbdConnected).valid);
}

TEST(FlagChanges, AreToldForEachFlagInItsWords) {
    const std::vector<Reading> flags = {Reading::remoteAlive, Reading::remoteMDResync,
                                        Reading::remoteDiskErrHandling, Reading::localMDResync,
                                        Reading::localDiskErrHandling};
    for (const Reading reading : flags) {
        noteFlag(reading, false);
    }
    const std::size_t start = lastSequence();
    for (const Reading reading : flags) {
        noteFlag(reading, true);
    }
    EXPECT_THAT(eventsSince(start),
                ElementsAre("the peer is alive", "an array of the peer resynchronises",
                            "a disk of the peer is under error handling",
                            "an array here resynchronises", "a disk here is under error handling"));
}

TEST(FlagChanges, AreNoneOfWhatIsNoFlag) {
    const std::size_t start = lastSequence();
    noteFlag(Reading::hbLatency, true);
    noteFlag(Reading::hbLatency, false);
    EXPECT_THAT(eventsSince(start), IsEmpty());
}

}  // namespace
