// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/logging_child.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include "hasupport/daemon_log.h"

namespace koraha::test {
namespace {

using KORA::HA::Daemon::DaemonLog;

// Threads that are further ahead of the disk wait: here no line may be lost for want of room.
constexpr std::uint64_t linesAhead = 8000;

struct Child {
    int life;
    const LoggingPlaces& places;
    LoggingReport& report;
    DaemonLog log;
    std::atomic<std::uint64_t> onDisk{0};

    std::uint64_t returned() const {
        std::uint64_t sum = 0;
        for (const auto& each : report.returned) {
            sum += each;
        }
        return sum;
    }
};

std::string lineOf(int life, int thread, std::uint64_t number) {
    return "life=" + std::to_string(life) + " thread=" + std::to_string(thread) +
           " line=" + std::to_string(number) + " " + std::string(fillingOf(number), 'x');
}

void logLines(Child& child, int thread) {
    auto& returned = child.report.returned.at(static_cast<std::size_t>(thread));
    for (std::uint64_t number = 0;; ++number) {
        child.log.set(lineOf(child.life, thread, number));
        returned = number + 1;
        while (child.returned() > child.onDisk + linesAhead) {
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
        if (number % 16 == 0) {
            std::this_thread::yield();
        }
    }
}

void keepFile(const Child& child, int rotation) {
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "/%06d-%06d", child.life, rotation);
    const std::string file = child.places.directory + child.places.fileName;
    if (::link(file.c_str(), (child.places.archive + name.data()).c_str()) != 0) {
        std::abort();
    }
}

[[noreturn]] void flush(Child& child) {
    for (int rotation = 0;; ++rotation) {
        const std::uint64_t before = child.returned();
        child.report.phase = LoggingReport::writing;
        if (!child.log.writeLogToDisk()) {
            std::abort();
        }
        child.report.phase = LoggingReport::elsewhere;
        child.onDisk = before;
        if (child.log.size() > 0) {
            keepFile(child, rotation);
            child.report.phase = LoggingReport::rotating;
            child.log.rotate();
            child.report.phase = LoggingReport::elsewhere;
        }
    }
}

}  // namespace

std::size_t fillingOf(std::uint64_t number) {
    return number % 997 == 996 ? 20000 : number * 37 % 300;
}

void logUntilKilled(int life, const LoggingPlaces& places, LoggingReport& report) {
    Child child{life, places, report, DaemonLog(places.directory, places.fileName), {}};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < loggingThreads; ++thread) {
        threads.emplace_back(logLines, std::ref(child), thread);
    }
    flush(child);
}

}  // namespace koraha::test
