// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/drbdsetup.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>

#include "hasupport/io/unique_fd.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t outputLimit = std::size_t{256} * 1024;
constexpr int endWaitStepMs = 5;
constexpr Milliseconds killedGrace{200};

// posix_spawn takes its strings as char* const[] but never writes to them.
constinit char eventsWord[] = "events2";
constinit char nowWord[] = "--now";
constinit char allWord[] = "all";
constinit char pathVariable[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
constinit char localeVariable[] = "LC_ALL=C";

class SpawnActions {
  public:
    explicit SpawnActions(int output) {
        note(::posix_spawn_file_actions_init(&actions_));
        note(::posix_spawnattr_init(&attributes_));
        note(::posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0));
        note(::posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO));
        note(
            ::posix_spawn_file_actions_addopen(&actions_, STDERR_FILENO, "/dev/null", O_WRONLY, 0));
        note(::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1));
        sigset_t set;
        ::sigfillset(&set);
        note(::posix_spawnattr_setsigdefault(&attributes_, &set));
        ::sigemptyset(&set);
        note(::posix_spawnattr_setsigmask(&attributes_, &set));
        note(::posix_spawnattr_setpgroup(&attributes_, 0));
        note(::posix_spawnattr_setflags(
            &attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP));
    }
    ~SpawnActions() {
        ::posix_spawnattr_destroy(&attributes_);
        ::posix_spawn_file_actions_destroy(&actions_);
    }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    /// 0, or the errno of why `program` could not be started.
    int start(std::string program, pid_t& child) const {
        if (error_ != 0) {
            return error_;
        }
        const std::array<char*, 5> arguments{program.data(), eventsWord, nowWord, allWord, nullptr};
        const std::array<char*, 3> environment{pathVariable, localeVariable, nullptr};
        return ::posix_spawn(&child, program.c_str(), &actions_, &attributes_, arguments.data(),
                             environment.data());
    }

  private:
    void note(int error) { error_ = error_ == 0 ? error : error_; }

    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
    int error_ = 0;  // the first of building them
};

/// Reads to the end of `pipe`. Empty when all came in time, else what went wrong.
std::string readAll(int pipe, const Deadline& deadline, std::string& text) {
    std::array<char, 4096> chunk;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled by read
    for (;;) {
        pollfd ready{pipe, POLLIN, 0};
        const int polled = ::poll(&ready, 1, deadline.pollTimeout());
        if (polled == 0 || (polled < 0 && errno == EINTR && deadline.passed())) {
            return "drbdsetup did not answer in time";
        }
        const ssize_t got = polled < 0 ? -1 : ::read(pipe, chunk.data(), chunk.size());
        if (got == 0) {
            return {};
        }
        if (got < 0 && errno != EINTR && errno != EAGAIN) {
            return std::string("drbdsetup cannot be read: ") + std::strerror(errno);
        }
        if (got > 0 && text.size() + static_cast<std::size_t>(got) > outputLimit) {
            return "drbdsetup printed too much";
        }
        text.append(chunk.data(), static_cast<std::size_t>(got > 0 ? got : 0));
    }
}

/// True when the child is gone; its status says less than the end of its output does, and is lost
/// where a launcher left SIGCHLD ignored.
bool reap(pid_t child) {
    pid_t got = -1;
    do {
        got = ::waitpid(child, nullptr, WNOHANG);
    } while (got < 0 && errno == EINTR);
    return got != 0;
}

bool reapBy(pid_t child, const Deadline& deadline) {
    while (!reap(child)) {
        if (deadline.passed()) {
            return false;
        }
        ::poll(nullptr, 0, endWaitStepMs);
    }
    return true;
}

}  // namespace

Drbdsetup::Drbdsetup(std::vector<std::string> programs, Milliseconds limit)
    : programs_(std::move(programs)), limit_(limit) {}

DrbdsetupOutput Drbdsetup::events() {
    const Deadline deadline = Deadline::in(limit_);
    if (!takeTurn(deadline)) {
        return {{}, "drbdsetup is busy"};
    }
    const auto end = [](Drbdsetup* each) { each->endTurn(); };
    const std::unique_ptr<Drbdsetup, decltype(end)> turn(this, end);
    if (leftoverLives()) {
        return {{}, "an earlier drbdsetup still hangs"};
    }
    return run(deadline);
}

bool Drbdsetup::takeTurn(const Deadline& deadline) {
    std::unique_lock lock(mutex_);
    if (!ended_.wait_until(lock, deadline.at(), [this] { return !running_; })) {
        return false;
    }
    running_ = true;
    return true;
}

void Drbdsetup::endTurn() {
    {
        const std::lock_guard lock(mutex_);
        running_ = false;
    }
    ended_.notify_one();
}

bool Drbdsetup::leftoverLives() {
    if (leftover_ != 0 && reap(leftover_)) {
        leftover_ = 0;
    }
    return leftover_ != 0;
}

DrbdsetupOutput Drbdsetup::run(const Deadline& deadline) {
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return {{}, std::string("no pipe for drbdsetup: ") + std::strerror(errno)};
    }
    const UniqueFd output(ends[0]);
    UniqueFd input(ends[1]);
    pid_t child = 0;
    int error = ENOENT;
    const SpawnActions actions(input.get());
    for (const std::string& program : programs_) {
        error = actions.start(program, child);
        if (error == 0) {
            break;
        }
    }
    input.reset();
    if (error != 0) {
        return {{}, std::string("drbdsetup cannot be run: ") + std::strerror(error)};
    }
    DrbdsetupOutput result;
    try {
        result.failure = readAll(output.get(), deadline, result.text);
    } catch (...) {
        ::kill(-child, SIGKILL);
        leftover_ = child;
        throw;
    }
    if (!result.failure.empty() || !reapBy(child, deadline)) {
        ::kill(-child, SIGKILL);
        if (!reapBy(child, Deadline::in(killedGrace))) {
            leftover_ = child;
        }
    }
    return result;
}

Drbdsetup& processDrbdsetup() {
    static Drbdsetup drbdsetup;
    return drbdsetup;
}

}  // namespace KORA::HA::Daemon::support
