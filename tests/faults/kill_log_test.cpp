// SPDX-License-Identifier: Apache-2.0
// Kills a process that logs, again and again, and counts its lines.
#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "hasupport/daemon_log.h"
#include "hasupport/logfile/buffer_place.h"
#include "tests/faults/found_lines.h"
#include "tests/faults/logging_child.h"
#include "tests/support/scratch_dir.h"

namespace koraha::test {
namespace {

using KORA::HA::Daemon::DaemonLog;
using KORA::HA::Daemon::support::TEST_setBufferDirectory;

int killsWanted() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): before there is any thread
    const char* const text = std::getenv("KORAHA_KILLS");
    return text != nullptr ? std::atoi(text) : 100;
}

class KillLog : public testing::Test {
  protected:
    void SetUp() override {
        places_ = {scratch_.path("log"), "/test.log", scratch_.path("archive")};
        ASSERT_EQ(::mkdir(places_.archive.c_str(), 0700), 0);
        TEST_setBufferDirectory(scratch_.path("run"));
        void* const shared = ::mmap(nullptr, sizeof(LoggingReport), PROT_READ | PROT_WRITE,
                                    MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        ASSERT_NE(shared, MAP_FAILED);
        report_ = static_cast<LoggingReport*>(shared);
    }
    void TearDown() override { ::munmap(report_, sizeof *report_); }

    /// One life: it logs for a random while (some do not get to their first line), then it is
    /// killed.
    void liveAndDie(int life) {
        new (report_) LoggingReport;
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            logUntilKilled(life, places_, *report_);
        }
        ::usleep(std::uniform_int_distribution<useconds_t>(0, 40000)(random_));
        ASSERT_EQ(::kill(child, SIGKILL), 0);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
        phases_.at(static_cast<std::size_t>(report_->phase))++;
        std::vector<std::uint64_t> returned;
        for (const auto& each : report_->returned) {
            returned.push_back(each);
            lines_ += each;
        }
        returned_.push_back(returned);
    }

    /// All files in the order in which they were written, each once.
    std::vector<std::string> files() const {
        std::set<std::string> names;
        const std::unique_ptr<DIR, int (*)(DIR*)> dir(::opendir(places_.archive.c_str()),
                                                      &::closedir);
        while (const dirent* entry = ::readdir(dir.get())) {
            if (entry->d_name[0] != '.') {
                names.insert(places_.archive + "/" + entry->d_name);
            }
        }
        std::vector<std::string> files(names.begin(), names.end());
        for (int number = 5; number > 0; --number) {
            files.push_back(places_.directory + places_.fileName + "." + std::to_string(number));
        }
        files.push_back(places_.directory + places_.fileName);
        return files;
    }

    FoundLines readAll() const {
        FoundLines found;
        std::set<ino_t> seen;
        for (const std::string& file : files()) {
            struct stat info {};
            if (::stat(file.c_str(), &info) == 0 && seen.insert(info.st_ino).second) {
                found.readFile(file);
            }
        }
        for (std::size_t life = 0; life < returned_.size(); ++life) {
            for (int thread = 0; thread < loggingThreads; ++thread) {
                found.expect(static_cast<int>(life), thread,
                             returned_[life][static_cast<std::size_t>(thread)]);
            }
        }
        return found;
    }

    ScratchDir scratch_;
    LoggingPlaces places_;
    LoggingReport* report_ = nullptr;
    std::mt19937 random_{std::random_device{}()};
    std::array<int, 3> phases_{};
    std::vector<std::vector<std::uint64_t>> returned_;  // by life and thread
    std::uint64_t lines_ = 0;
};

TEST_F(KillLog, LosesNoLineAndWritesNoneTwice) {
    const int kills = killsWanted();
    for (int life = 0; life < kills && !HasFatalFailure(); ++life) {
        liveAndDie(life);
    }
    DaemonLog next(places_.directory, places_.fileName);
    EXPECT_TRUE(next.writeLogToDisk());
    const FoundLines found = readAll();
    std::cout << kills << " kills (" << phases_[1] << " inside write, " << phases_[2]
              << " inside rotate), " << lines_ << " lines set, " << found.found() << " found, "
              << found.missing() << " lost, " << found.outOfPlace() << " twice or out of order, "
              << found.broken() << " broken\n";
    EXPECT_EQ(found.missing(), 0U) << found.firstTrouble();
    EXPECT_EQ(found.outOfPlace(), 0U) << found.firstTrouble();
    EXPECT_EQ(found.broken(), 0U) << found.firstTrouble();
    EXPECT_GT(found.found(), 0U);
    EXPECT_GT(phases_[1], 0);
}

}  // namespace
}  // namespace koraha::test
