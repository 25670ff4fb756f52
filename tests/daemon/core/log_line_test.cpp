// SPDX-License-Identifier: Apache-2.0
#include "log/log_line.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/scripted/script.h"
#include "tests/support/failing_memory.h"

namespace KORA::HA::Daemon {
namespace {

using Lines = std::vector<std::string>;

TEST(LogMessage, beginsWithTagColonLineNumberAndOneBlank) {
    logMessage(566, "Failed to do server");
    EXPECT_EQ(Lines{"koraharemotemond:566 Failed to do server"}, script().logLines);
}

TEST(LogMessage, takesAnotherTag) {
    logMessage("int_daemon_conf", 91, "Daemon configure file not exist");
    EXPECT_EQ(Lines{"int_daemon_conf:91 Daemon configure file not exist"}, script().logLines);
}

TEST(LogMessage, putsTheTextAsItStandsIntoTheDaemonLogAlone) {
    logMessage(7, "");
    logMessage(7, " 100% %s\n\ttwo lines ");
    EXPECT_EQ((Lines{"daemonLog.set koraharemotemond:7 ",
                     "daemonLog.set koraharemotemond:7  100% %s\n\ttwo lines "}),
              script().calls);
}

TEST(LogMessage, longTextIsNotCut) {
    const std::string text(100'000, 'x');
    logMessage(1, text);
    EXPECT_EQ(Lines{"koraharemotemond:1 " + text}, script().logLines);
}

TEST(LogMessage, withoutMemoryTheLineIsLostAndTheNextIsNot) {
    {
        const koraha::test::FailingAllocation noMemory(0, true);
        logMessage(473, "Failed to wait process exec");
    }
    EXPECT_EQ(Lines{}, script().logLines);
    logMessage(493, "Failed to join thread");
    EXPECT_EQ(Lines{"koraharemotemond:493 Failed to join thread"}, script().logLines);
}

}  // namespace
}  // namespace KORA::HA::Daemon
