// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/line_format.h"

#include <gtest/gtest.h>

#include "hasupport/logfile/line_stamp.h"
#include "hasupport/logfile/plain_text.h"

namespace KORA::HA::Daemon::support {
namespace {

using std::chrono::microseconds;
using std::chrono::system_clock;

const system_clock::time_point someTime{std::chrono::seconds(1700000000) + microseconds(42)};

std::string formatted(std::string_view text, system_clock::time_point at = someTime) {
    std::string line;
    appendLogLine(line, textOf(LineStamp().at(at)), text);
    return line;
}

const std::string stamp = "2023-11-14T22:13:20.000042Z ";

TEST(LineFormat, StampsWithUtcAndMicroseconds) {
    EXPECT_EQ(formatted("text"), stamp + "text\n");
    EXPECT_EQ(formatted("", system_clock::time_point(microseconds(999999))),
              "1970-01-01T00:00:00.999999Z \n");
    EXPECT_EQ(formatted("x", system_clock::time_point(microseconds(-1))),
              "1969-12-31T23:59:59.999999Z x\n");
    EXPECT_EQ(formatted("leap", system_clock::time_point(std::chrono::seconds(951782400))),
              "2000-02-29T00:00:00.000000Z leap\n");
}

TEST(LineFormat, FindsTheFirstControlCharacterWhereverItStands) {
    for (std::size_t size = 0; size < 50; ++size) {
        std::string text(size, '\xff');
        EXPECT_EQ(plainLength(text), size);
        for (std::size_t at = size; at-- > 0;) {
            text[at] = "\x1f\x7f\0\n"[at % 4];
            EXPECT_EQ(plainLength(text), at) << size;
        }
    }
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text(20, static_cast<char>(byte));
        EXPECT_EQ(plainLength(text), byte < 0x20 || byte == 0x7f ? 0U : 20U) << byte;
    }
}

TEST(LineFormat, StampsTheLinesOfASecondAndOfTheNextAlike) {
    LineStamp stamps;
    const auto stampAt = [&](auto at) { return std::string(textOf(stamps.at(at))); };
    const auto before = system_clock::time_point(std::chrono::seconds(1700000000));
    EXPECT_EQ(stampAt(before), "2023-11-14T22:13:20.000000Z ");
    EXPECT_EQ(stampAt(before + microseconds(999999)), "2023-11-14T22:13:20.999999Z ");
    EXPECT_EQ(stampAt(before + microseconds(1000000)), "2023-11-14T22:13:21.000000Z ");
    EXPECT_EQ(stampAt(before - microseconds(1)), "2023-11-14T22:13:19.999999Z ");
}

TEST(LineFormat, EscapesControlCharactersAndNothingElse) {
    EXPECT_EQ(formatted(std::string_view("a\0b\x1b[2J\r\t\x7f\\ \xc3\xa4\xff", 15)),
              stamp + "a\\x00b\\x1b[2J\\x0d\\x09\\x7f\\ \xc3\xa4\xff\n");
    EXPECT_EQ(formatted("trailing blanks  "), stamp + "trailing blanks  \n");
}

TEST(LineFormat, LetsNoTextForgeALine) {
    EXPECT_EQ(formatted("one\n"), stamp + "one\n");
    EXPECT_EQ(formatted("one\n\n"), stamp + "one\n\t\n");
    EXPECT_EQ(formatted("one\n" + stamp + "forged"), stamp + "one\n\t" + stamp + "forged\n");
    EXPECT_EQ(formatted("\n"), stamp + "\n");
}

TEST(LineFormat, AppendsToWhatIsThere) {
    std::string line = "before\n";
    appendLogLine(line, textOf(LineStamp().at(someTime)), "text");
    EXPECT_EQ(line, "before\n" + stamp + "text\n");
}

TEST(LineFormat, CutsALineThatIsTooLongAndSaysSo) {
    std::string fits(199, 'x');
    fits += '\n';
    const std::string before = fits;
    fitLine(fits, 200, 0);
    EXPECT_EQ(fits, before);

    std::string tooLong(300, 'x');
    tooLong += '\n';
    fitLine(tooLong, 200, 0);
    EXPECT_EQ(tooLong, std::string(136, 'x') + " [164 bytes cut]\n");

    fitLine(fits, 200, 1000);
    EXPECT_EQ(fits, std::string(136, 'x') + " [1063 bytes cut]\n");
}

TEST(LineFormat, CutsNoCharacterAndNoContinuationInTwo) {
    for (std::size_t shift = 0; shift < 8; ++shift) {
        std::string line(shift, 'x');
        while (line.size() < 300) {
            line += "\xe2\x82\xac\n\t";  // a character of three bytes, and a line's end inside
        }
        line += '\n';
        fitLine(line, 200, 0);
        EXPECT_LE(line.size(), 200U);
        const std::size_t note = line.find(" [");
        ASSERT_NE(note, std::string::npos);
        EXPECT_NE(line[note - 1], '\n') << shift;
        const std::string end = line.substr(note - 3, 3);
        EXPECT_TRUE(end == "\xe2\x82\xac" || line[note - 1] == '\t') << shift;
    }
}

TEST(LineFormat, TellsOfMissingLinesWithTheStampOfTheNext) {
    std::string line;
    appendLossLine(line, stamp + "text\n", 12);
    EXPECT_EQ(line, stamp +
                        "libkorahadaemon: older lines were lost, the log could not be written in "
                        "time: 12\n");
    line.clear();
    appendLossLine(line, "nostamp\n", 1);
    EXPECT_EQ(line,
              "libkorahadaemon: older lines were lost, the log could not be written in time: 1\n");
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
