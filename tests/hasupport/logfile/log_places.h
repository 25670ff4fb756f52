// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "hasupport/logfile/buffer_place.h"
#include "hasupport/logfile/line_buffer.h"
#include "hasupport/logfile/pending_lines.h"
#include "tests/support/scratch_dir.h"

namespace koraha::test {

using Texts = std::vector<std::string>;

/// The lines of a text, without their stamps where they have one.
inline Texts withoutStamps(const std::string& text) {
    Texts lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        const bool stamped = line.size() >= 28 && line[26] == 'Z' && line[27] == ' ';
        lines.push_back(stamped ? line.substr(28) : line);
    }
    return lines;
}

/// The line that stands where so many lines are missing, without its stamp.
inline std::string lossLine(std::uint64_t lost) {
    return "libkorahadaemon: older lines were lost, the log could not be written in time: " +
           std::to_string(lost);
}

/// A log directory and a buffer directory of one test.
class LogPlaces : public testing::Test {
  protected:
    LogPlaces() { KORA::HA::Daemon::support::TEST_setBufferDirectory(runDirectory()); }
    ~LogPlaces() override { KORA::HA::Daemon::support::TEST_setBufferDirectory(before_); }

    std::string logDirectory() const { return scratch_.path("log"); }
    std::string runDirectory() const { return scratch_.path("run"); }
    /// The path of the buffer of the log "/test.log".
    std::string bufferPath() const {
        return runDirectory() + "/" +
               KORA::HA::Daemon::support::bufferName(logDirectory() + "/test.log");
    }
    /// What is in the log's file, or in one that was rotated.
    std::string text(const std::string& name = "test.log") const {
        return scratch_.read("log/" + name);
    }
    Texts lines(const std::string& name = "test.log") const { return withoutStamps(text(name)); }

    /// The buffer of "/test.log"; fails when it cannot be had.
    KORA::HA::Daemon::support::LineBuffer openBuffer() const {
        KORA::HA::Daemon::support::BufferTrouble trouble;
        auto buffer = KORA::HA::Daemon::support::LineBuffer::at(
            {runDirectory(), true}, bufferPath().substr(runDirectory().size() + 1), trouble);
        EXPECT_TRUE(buffer) << trouble.text;
        return buffer ? std::move(*buffer) : KORA::HA::Daemon::support::LineBuffer();
    }

    ScratchDir scratch_;

  private:
    std::string before_ = KORA::HA::Daemon::support::bufferPlace().directory;
};

}  // namespace koraha::test
