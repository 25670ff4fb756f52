// SPDX-License-Identifier: Apache-2.0
#include "tests/support/told.h"

#include <syslog.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <deque>
#include <mutex>

#include "tests/support/failing_memory.h"

namespace koraha::test {
namespace {

constexpr std::size_t lineLimit = 10'000;

struct Lines {
    std::atomic<unsigned> waiting{0};
    std::mutex mutex;
    std::deque<std::string> kept;
};

// Never destroyed: something may be told until the very end.
Lines& lines() {
    static auto* const theOnes = new Lines;
    return *theOnes;
}

void keep(const char* format, va_list arguments) {
    std::array<char, 2048> text{};
    (void)std::vsnprintf(text.data(), text.size(), format, arguments);
    const AllocationsAside ours;
    ++lines().waiting;
    const std::lock_guard lock(lines().mutex);
    --lines().waiting;
    lines().kept.emplace_back(text.data());
    if (lines().kept.size() > lineLimit) {
        lines().kept.pop_front();
    }
}

}  // namespace

std::vector<std::string> told() {
    const std::lock_guard lock(lines().mutex);
    return {lines().kept.begin(), lines().kept.end()};
}

std::size_t timesTold(const std::string& text) {
    const auto all = told();
    return static_cast<std::size_t>(std::count_if(
        all.begin(), all.end(),
        [&](const std::string& line) { return line.find(text) != std::string::npos; }));
}

void forgetTold() {
    const std::lock_guard lock(lines().mutex);
    lines().kept.clear();
}

StuckSystemLog::StuckSystemLog() : held_(lines().mutex) {}

bool StuckSystemLog::isWaitedFor() const {
    return held_.owns_lock() && lines().waiting > 0;
}

}  // namespace koraha::test

// The tests' own system log, under the names by which the library (in a hardened build too) calls
// it.
// NOLINTBEGIN(cert-dcl50-cpp,bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" void syslog(int, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    koraha::test::keep(format, arguments);
    va_end(arguments);
}

extern "C" void __syslog_chk(int, int, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    koraha::test::keep(format, arguments);
    va_end(arguments);
}
// NOLINTEND(cert-dcl50-cpp,bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
