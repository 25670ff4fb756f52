// SPDX-License-Identifier: Apache-2.0
// Runs every operation of the support library with its system calls failing one after the other:
// the first, second ... fiftieth call of each function that it makes, with an error of that
// function, with an interruption, or moving a single byte. Each run is a process of its own. It
// must end in time, by itself, with the value of an undisturbed run or with a stated failure, and
// leave no descriptor open.
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <deque>
#include <exception>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "hasupport/replication_link.h"
#include "tests/faults/addresses.h"
#include "tests/faults/failing_calls.h"
#include "tests/faults/operation.h"

namespace koraha::faults {
namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned deepest = 50;
constexpr std::size_t atOnce = 6;
constexpr std::chrono::seconds patience{60};

struct Fault {
    std::string call;
    unsigned nth = 0;
    int error = 0;
    bool harmless = false;  // the caller just has to go on

    std::string words() const {
        const char* const what = error == koraha_short ? "moves one byte" : std::strerror(error);
        return call + " number " + std::to_string(nth) + ": " + what;
    }
};

/// What one run left behind: its outcome and the calls that it made.
struct Report {
    bool ended = false;  // by itself, with all of the below
    std::string trouble;
    Outcome outcome;
    long openDescriptors = 0;  // more than before
    std::map<std::string, unsigned> calls;
};

long countDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
}

Outcome runOnce(const Operation& operation, const Fault& fault) {
    koraha_fail_nth(fault.call.c_str(), fault.nth, fault.error);
    Outcome outcome;
    try {
        outcome = operation.run();
    } catch (const std::exception& e) {
        outcome = {std::string("threw ") + e.what(), false};
    } catch (...) {
        outcome = {"threw something", false};
    }
    koraha_fail_none();
    return outcome;
}

[[noreturn]] void beChild(const Operation& operation, const Fault& fault, int pipe) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (operation.prepare) {
        operation.prepare();
    }
    const long before = countDescriptors();
    Outcome outcome = runOnce(operation, fault);
    std::ostringstream text;
    for (std::size_t i = 0; koraha_call_name(i) != nullptr; ++i) {
        text << koraha_call_name(i) << ' ' << koraha_calls(koraha_call_name(i)) << '\n';
    }
    const long more = countDescriptors() - before;
    if (operation.finish) {
        outcome = operation.finish(outcome);
    }
    text << "end " << more << '\n' << outcome.stated << outcome.value;
    const std::string report = text.str();
    ::_exit(::write(pipe, report.data(), report.size()) > 0 ? 0 : 3);
}

Report parse(const std::string& text) {
    Report report;
    std::istringstream lines(text);
    std::string name;
    long number = 0;
    while (lines >> name >> number && name != "end") {
        report.calls[name] = static_cast<unsigned>(number);
    }
    report.ended = name == "end";
    report.openDescriptors = number;
    lines.ignore(1);
    char stated = '0';
    lines.get(stated);
    report.outcome.stated = stated == '1';
    std::getline(lines, report.outcome.value, '\0');
    return report;
}

/// A run that is under way.
class Run {
  public:
    Run(const Operation& operation, Fault fault)
        : operation_(&operation), fault_(std::move(fault)), since_(Clock::now()) {
        std::array<int, 2> ends{-1, -1};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0 || (pid_ = ::fork()) < 0) {
            std::perror("driver");
            std::exit(2);
        }
        if (pid_ == 0) {
            ::close(ends[0]);
            beChild(operation, fault_, ends[1]);
        }
        ::close(ends[1]);
        pipe_ = ends[0];
    }

    const Operation& operation() const { return *operation_; }
    const Fault& fault() const { return fault_; }

    /// True once it is over and `report` holds what came of it.
    bool isOver(Report& report) {
        int status = 0;
        if (::waitpid(pid_, &status, WNOHANG) != pid_) {
            if (Clock::now() - since_ < patience) {
                return false;
            }
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, &status, 0);
            report.trouble = "hangs";
        }
        report = merge(report.trouble, parse(readAll()), status);
        return true;
    }

  private:
    static Report merge(const std::string& trouble, Report report, int status) {
        report.trouble = trouble;
        if (trouble.empty() && WIFSIGNALED(status)) {
            report.trouble = std::string("dies of ") + ::strsignal(WTERMSIG(status));
        } else if (trouble.empty() && (status != 0 || !report.ended)) {
            report.trouble = "ends with status " + std::to_string(WEXITSTATUS(status));
        }
        return report;
    }

    std::string readAll() const {
        std::string text;
        std::array<char, 4096> chunk{};
        ssize_t got = 0;
        while ((got = ::read(pipe_, chunk.data(), chunk.size())) > 0) {
            text.append(chunk.data(), static_cast<std::size_t>(got));
        }
        ::close(pipe_);
        return text;
    }

    const Operation* operation_;
    Fault fault_;
    Clock::time_point since_;
    pid_t pid_ = -1;
    int pipe_ = -1;
};

bool isInterruptible(const std::string& call) {
    constexpr std::array names{"open",      "read",      "pread",    "write",  "pwrite",
                               "recv",      "recvmsg",   "recvfrom", "send",   "sendto",
                               "sendmsg",   "accept4",   "poll",     "flock",  "waitid",
                               "waitpid",   "nanosleep", "fstatfs",  "statfs", "openat",
                               "ftruncate", "getrandom"};
    return std::find(names.begin(), names.end(), call) != names.end();
}

/// How the call fails in life; 0: not at all.
int usualError(const std::string& call) {
    static const std::map<std::string, int> known{{"getrandom", 0},
                                                  {"open", EMFILE},
                                                  {"openat", EMFILE},
                                                  {"opendir", EMFILE},
                                                  {"socket", EMFILE},
                                                  {"accept4", EMFILE},
                                                  {"pipe2", EMFILE},
                                                  {"poll", ENOMEM},
                                                  {"mmap", ENOMEM},
                                                  {"send", ENOBUFS},
                                                  {"sendto", ENOBUFS},
                                                  {"sendmsg", ENOBUFS},
                                                  {"fork", EAGAIN},
                                                  {"connect", ECONNREFUSED},
                                                  {"posix_spawn", EAGAIN},
                                                  {"pthread_create", EAGAIN},
                                                  {"write", ENOSPC},
                                                  {"pwrite", ENOSPC},
                                                  {"posix_fallocate", ENOSPC},
                                                  {"waitid", ECHILD},
                                                  {"waitpid", ECHILD},
                                                  {"bind", EADDRINUSE},
                                                  {"setsockopt", EPERM},
                                                  {"stat", EACCES},
                                                  {"lstat", EACCES},
                                                  {"syscall", ENOSYS},
                                                  {"nanosleep", EINVAL}};
    const auto found = known.find(call);
    return found == known.end() ? EIO : found->second;
}

/// Every fault that strikes a run that makes these calls.
std::vector<Fault> faultsFor(const Report& undisturbed) {
    std::vector<Fault> faults;
    for (std::size_t i = 0; koraha_call_name(i) != nullptr; ++i) {
        const std::string call = koraha_call_name(i);
        const unsigned calls = std::min(undisturbed.calls.at(call), deepest);
        for (unsigned nth = 1; nth <= calls; ++nth) {
            if (usualError(call) != 0) {
                faults.push_back({call, nth, usualError(call), false});
            }
            if (isInterruptible(call)) {
                faults.push_back({call, nth, EINTR, true});
            }
            if (koraha_call_moves_bytes(i)) {
                faults.push_back({call, nth, koraha_short, true});
            }
        }
    }
    return faults;
}

std::string verdict(const Operation& operation, const Fault& fault, const Report& undisturbed,
                    const Report& report) {
    if (!report.trouble.empty()) {
        return report.trouble;
    }
    if (report.openDescriptors > undisturbed.openDescriptors + operation.mayKeep) {
        return "leaves a descriptor open";
    }
    const bool same = report.outcome.value == undisturbed.outcome.value;
    const bool stated = report.outcome.stated && !undisturbed.outcome.stated;
    if (fault.harmless && operation.tolerant) {
        return "";
    }
    if (fault.harmless && (!same || stated)) {
        return "gives \"" + report.outcome.value + "\" instead of going on";
    }
    if (!same && !report.outcome.stated && !operation.tolerant) {
        return "gives \"" + report.outcome.value + "\" without saying that something failed";
    }
    return "";
}

class Tally {
  public:
    void count(const std::string& operation, const Fault& fault, const std::string& problem) {
        ++(problem.empty() ? passed_ : failed_);
        if (!problem.empty()) {
            std::printf("FAIL %s, %s: %s\n", operation.c_str(), fault.words().c_str(),
                        problem.c_str());
        }
        std::fflush(stdout);
    }
    int close() const {
        std::printf("%lu passed, %lu failed\n", passed_, failed_);
        return failed_ == 0 ? 0 : 1;
    }

  private:
    unsigned long passed_ = 0;
    unsigned long failed_ = 0;
};

/// Runs all faults of one operation, several at once where that may be.
void runFaults(const Operation& operation, const Report& undisturbed, Tally& tally) {
    std::vector<Fault> faults = faultsFor(undisturbed);
    std::deque<Run> running;
    std::size_t next = 0;
    while (next < faults.size() || !running.empty()) {
        while (next < faults.size() && running.size() < (operation.alone ? 1 : atOnce)) {
            running.emplace_back(operation, faults[next++]);
        }
        for (auto run = running.begin(); run != running.end();) {
            Report report;
            if (run->isOver(report)) {
                tally.count(operation.name, run->fault(),
                            verdict(operation, run->fault(), undisturbed, report));
                run = running.erase(run);
            } else {
                ++run;
            }
        }
        ::poll(nullptr, 0, 1);
    }
    std::printf("     %s: %zu faults, value \"%s\"%s\n", operation.name.c_str(), faults.size(),
                undisturbed.outcome.value.c_str(),
                undisturbed.outcome.stated ? " (a stated failure)" : "");
}

Report runUndisturbed(const Operation& operation) {
    Run run(operation, {"none", 0, 0, true});
    Report report;
    while (!run.isOver(report)) {
        ::poll(nullptr, 0, 1);
    }
    return report;
}

int drive(const std::string& data, const std::string& only) {
    localIP(ownAddress);
    remoteIP(peerAddress);
    drbdIF(interface);
    startPeer();
    Tally tally;
    for (const Operation& operation : allOperations(data)) {
        if (operation.name.find(only) == std::string::npos) {
            continue;
        }
        const Report undisturbed = runUndisturbed(operation);
        tally.count(operation.name, {"no call", 0, 0, true}, undisturbed.trouble);
        if (undisturbed.trouble.empty()) {
            runFaults(operation, undisturbed, tally);
        }
    }
    return tally.close();
}

}  // namespace

std::vector<Operation> allOperations(const std::string& data) {
    std::vector<Operation> all;
    for (auto& some :
         {kernelOperations(data), linkOperations(), fileOperations(), servingOperations()}) {
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

}  // namespace koraha::faults

/// driver DATA [OPERATION]; driver --calls lists the functions that can be failed; driver --restart
/// asks the node at the first address, as its peer, to restart.
int main(int argc, char** argv) {
    const std::string first = argc > 1 ? argv[1] : "";
    if (first == "--calls") {
        for (std::size_t i = 0; koraha_call_name(i) != nullptr; ++i) {
            std::puts(koraha_call_name(i));
        }
        return 0;
    }
    if (first == "--restart") {
        return koraha::faults::askForRestartAsPeer() ? 0 : 1;
    }
    return koraha::faults::drive(first, argc > 2 ? argv[2] : "");
}
