// SPDX-License-Identifier: Apache-2.0
#include "tools/watch/signals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <array>

namespace korahamonctl::watch {
namespace {

constexpr std::array taken = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGCONT, SIGWINCH};

sigset_t takenSet() {
    sigset_t set{};
    ::sigemptyset(&set);
    for (const int signal : taken) {
        ::sigaddset(&set, signal);
    }
    return set;
}

void doNothing(int /*signal*/) {}

}  // namespace

Signals::Signals() {
    const sigset_t set = takenSet();
    struct sigaction handled {};
    handled.sa_handler = &doNothing;
    ::sigaction(SIGTSTP, &handled, &stopBefore_);
    ::sigprocmask(SIG_BLOCK, &set, &before_);
    fd_.reset(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
}

Signals::~Signals() {
    ::sigprocmask(SIG_SETMASK, &before_, nullptr);
    ::sigaction(SIGTSTP, &stopBefore_, nullptr);
}

int Signals::next() {
    signalfd_siginfo info{};
    return ::read(fd_.get(), &info, sizeof info) == static_cast<ssize_t>(sizeof info)
               ? static_cast<int>(info.ssi_signo)
               : 0;
}

void Signals::obey(int signal) {
    struct sigaction itself {};
    struct sigaction before {};
    itself.sa_handler = SIG_DFL;
    ::sigaction(signal, &itself, &before);
    sigset_t only{};
    ::sigemptyset(&only);
    ::sigaddset(&only, signal);
    ::raise(signal);
    ::sigprocmask(SIG_UNBLOCK, &only, nullptr);
    ::sigprocmask(SIG_BLOCK, &only, nullptr);
    ::sigaction(signal, &before, nullptr);
}

}  // namespace korahamonctl::watch
