// SPDX-License-Identifier: Apache-2.0
// Buffers that are not as a log left them: the log works, and what was intact is not lost.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <random>
#include <thread>

#include "hasupport/daemon_log.h"
#include "hasupport/logfile/buffer_layout.h"
#include "log_places.h"

namespace KORA::HA::Daemon {
namespace {

using koraha::test::lossLine;
using koraha::test::Texts;
using koraha::test::withoutStamps;
using testing::Contains;
using testing::ElementsAre;
using testing::IsSubsetOf;

class DamagedBufferTest : public koraha::test::LogPlaces {
  protected:
    /// Leaves "line 1" to "line COUNT" in the buffer.
    void leaveLines(int count) const {
        DaemonLog log(logDirectory(), "/test.log");
        for (int i = 1; i <= count; ++i) {
            log.set("line " + std::to_string(i));
        }
    }
    static Texts numbered(int first, int last) {
        Texts lines;
        for (int i = first; i <= last; ++i) {
            lines.push_back("line " + std::to_string(i));
        }
        return lines;
    }
    std::string buffer() const {
        std::ifstream file(bufferPath(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    void replaceBuffer(const std::string& bytes) const {
        scratch_.write("run/" + bufferPath().substr(runDirectory().size() + 1), bytes, 0600);
    }

    /// The next start: it logs a line, writes all, and logs and writes again.
    Texts startNext() const {
        ::unlink((logDirectory() + "/test.log").c_str());
        DaemonLog log(logDirectory(), "/test.log");
        log.set("new 1");
        EXPECT_TRUE(log.writeLogToDisk());
        log.set("new 2");
        EXPECT_TRUE(log.writeLogToDisk());
        EXPECT_TRUE(log.rotate());
        return withoutStamps(text("test.log.1"));
    }
    static Texts withNew(Texts lines) {
        lines.insert(lines.end(), {"new 1", "new 2"});
        return lines;
    }
};

TEST_F(DamagedBufferTest, OfOneTornLineOnlyThatOneIsLostAndTold) {
    leaveLines(20);
    std::string bytes = buffer();
    bytes.at(bytes.find("line 7\n")) = '#';
    replaceBuffer(bytes);
    Texts expected = numbered(1, 6);
    expected.push_back(lossLine(1));
    for (const std::string& line : numbered(8, 20)) {
        expected.push_back(line);
    }
    EXPECT_EQ(startNext(), withNew(expected));
}

TEST_F(DamagedBufferTest, AnEmptyOneAndOneOfZerosAreNew) {
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{4096},
                                   support::bufferBaseBytes, support::bufferMaxBytes}) {
        leaveLines(0);
        ASSERT_EQ(::mkdir(runDirectory().c_str(), 0700) == 0 || errno == EEXIST, true);
        replaceBuffer(std::string(size, '\0'));
        EXPECT_EQ(startNext(), withNew({})) << size;
    }
}

TEST_F(DamagedBufferTest, OfATruncatedOneTheLinesBeforeTheCutAreThere) {
    leaveLines(50);
    const std::string whole = buffer();
    for (std::size_t size = 0; size < 8000; size += 293) {
        replaceBuffer(whole.substr(0, size));
        Texts expected;
        while (expected.size() < 50 &&
               whole.find("line " + std::to_string(expected.size() + 1) + "\n") +
                       std::to_string(expected.size() + 1).size() + 6 <=
                   size) {
            expected.push_back("line " + std::to_string(expected.size() + 1));
        }
        EXPECT_EQ(startNext(), withNew(expected)) << size;
    }
}

TEST_F(DamagedBufferTest, OfAnOverlongOneNothingIsLost) {
    leaveLines(30);
    replaceBuffer(buffer() + std::string(3 * support::bufferMaxBytes, '\xa5'));
    EXPECT_EQ(startNext(), withNew(numbered(1, 30)));
    replaceBuffer(std::string(3 * support::bufferMaxBytes, '\xa5'));
    DaemonLog log(logDirectory(), "/test.log");
    log.set("line");
    struct stat info {};
    ASSERT_EQ(::stat(bufferPath().c_str(), &info), 0);
    EXPECT_LE(info.st_size, static_cast<off_t>(support::bufferMaxBytes));
}

TEST_F(DamagedBufferTest, ADestroyedHeadCostsNoLine) {
    leaveLines(30);
    for (const char filling : {'\0', '\xff', 'A'}) {
        leaveLines(0);
        ::unlink(bufferPath().c_str());
        leaveLines(30);
        std::string bytes = buffer();
        bytes.replace(0, support::bufferHeadBytes, support::bufferHeadBytes, filling);
        replaceBuffer(bytes);
        EXPECT_EQ(startNext(), withNew(numbered(1, 30)));
    }
}

TEST_F(DamagedBufferTest, OneOfAnotherVersionIsSetAsideWhole) {
    leaveLines(3);
    std::string bytes = buffer();
    bytes.at(8) = 9;
    bytes += "of a larger size";
    replaceBuffer(bytes);
    EXPECT_EQ(startNext(), withNew({}));
    const std::string aside = bufferPath().substr(scratch_.path().size() + 1) + ".version-9";
    EXPECT_EQ(scratch_.read(aside), bytes);
    // A second one of that version finds the name taken: it stays, and memory of its own serves.
    bytes.back() = '2';
    replaceBuffer(bytes);
    EXPECT_EQ(startNext(), withNew({}));
    EXPECT_EQ(buffer(), bytes);
}

TEST_F(DamagedBufferTest, APlantedLinkIsLeftAlone) {
    const std::string other = scratch_.write("other", "precious", 0600);
    ASSERT_EQ(::mkdir(runDirectory().c_str(), 0700), 0);
    ASSERT_EQ(::symlink(other.c_str(), bufferPath().c_str()), 0);
    EXPECT_EQ(startNext(), withNew({}));
    ASSERT_EQ(::unlink(bufferPath().c_str()), 0);
    ASSERT_EQ(::link(other.c_str(), bufferPath().c_str()), 0);
    EXPECT_EQ(startNext(), withNew({}));
    EXPECT_EQ(scratch_.read("other"), "precious");
}

TEST_F(DamagedBufferTest, OnceWhatStoodThereIsGoneTheBufferIsTaken) {
    scratch_.write("run", "a file where the directory belongs");
    DaemonLog log(logDirectory(), "/test.log");
    log.set("one");
    ASSERT_EQ(::unlink(runDirectory().c_str()), 0);
    EXPECT_TRUE(log.writeLogToDisk());
    EXPECT_THAT(lines(), ElementsAre("one"));
    log.set("two");
    EXPECT_NE(buffer().find("two\n"), std::string::npos);
    EXPECT_TRUE(log.writeLogToDisk());
    EXPECT_THAT(lines(), ElementsAre("one", "two"));
}

TEST_F(DamagedBufferTest, OneCutUnderTheRunningLogCostsOnlyItsLines) {
    DaemonLog log(logDirectory(), "/test.log");
    log.set("gone");
    ASSERT_EQ(::truncate(bufferPath().c_str(), 0), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    log.set("after");
    EXPECT_TRUE(log.writeLogToDisk());
    log.set("later");
    EXPECT_TRUE(log.writeLogToDisk());
    EXPECT_THAT(lines(), ElementsAre(lossLine(1), "after", "later"));
    EXPECT_NE(buffer().find("later\n"), std::string::npos) << "the buffer was not taken again";
}

TEST_F(DamagedBufferTest, NothingIntactIsLostWhateverBytesAreOverwritten) {
    std::mt19937 random(20240);  // NOLINT(cert-msc51-cpp): the same damage every time
    leaveLines(200);
    const std::string whole = buffer();
    for (int round = 0; round < 100; ++round) {
        std::string bytes = whole;
        const std::size_t size = std::uniform_int_distribution<std::size_t>(1, 600)(random);
        const std::size_t at =
            std::uniform_int_distribution<std::size_t>(0, 4096 + 200 * 64)(random);
        for (std::size_t i = at; i < at + size; ++i) {
            bytes.at(i) = static_cast<char>(random());
        }
        replaceBuffer(bytes);
        const Texts found = startNext();
        EXPECT_EQ((Texts{*(found.end() - 2), found.back()}), (Texts{"new 1", "new 2"}));
        for (int i = 1; i <= 200; ++i) {
            const std::string line = "line " + std::to_string(i);
            const std::size_t where = whole.find(line + "\n");
            const std::size_t begin = where - 28 - 24;
            const std::size_t end = where + line.size() + 1;
            const bool intact = end <= at || begin >= at + size;
            EXPECT_EQ(std::count(found.begin(), found.end(), line), intact ? 1 : 0)
                << line << " round " << round;
        }
    }
}

}  // namespace
}  // namespace KORA::HA::Daemon
