// SPDX-License-Identifier: Apache-2.0
#include "tests/daemon/support/sample_in_turn.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <csignal>
#include <new>
#include <utility>

namespace koraha::test {
namespace {

struct Watched {
    std::atomic<float>* sample = nullptr;
    std::size_t pageSize = 0;
    std::vector<float> values;
    std::size_t reads = 0;
};

Watched watched;

constexpr greg_t stopAfterOneInstruction = 0x100;  // the processor's trap flag

void mayBeRead(bool allowed) {
    ::mprotect(watched.sample, watched.pageSize, allowed ? PROT_READ | PROT_WRITE : PROT_NONE);
}

greg_t& flags(void* context) {
    return static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_EFL];
}

void onRefusedRead(int /*signal*/, siginfo_t* info, void* context) {
    if (info->si_addr != watched.sample || watched.reads >= watched.values.size()) {
        ::_exit(99);  // it is no read of the sample, or one too many
    }
    mayBeRead(true);
    *watched.sample = watched.values[watched.reads++];
    flags(context) |= stopAfterOneInstruction;
}

void afterRead(int /*signal*/, siginfo_t* /*info*/, void* context) {
    flags(context) &= ~stopAfterOneInstruction;
    mayBeRead(false);
}

void handle(int signal, void (*handler)(int, siginfo_t*, void*)) {
    struct sigaction action {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO;
    EXPECT_EQ(0, ::sigaction(signal, &action, nullptr));
}

}  // namespace

SampleInTurn::SampleInTurn(std::vector<float> values) {
    watched.pageSize = static_cast<std::size_t>(::getpagesize());
    void* const page = ::mmap(nullptr, watched.pageSize, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    EXPECT_NE(MAP_FAILED, page);
    watched.sample = new (page) std::atomic<float>(0.0F);
    watched.values = std::move(values);
    watched.reads = 0;
    handle(SIGSEGV, onRefusedRead);
    handle(SIGTRAP, afterRead);
    mayBeRead(false);
}

SampleInTurn::~SampleInTurn() {
    (void)std::signal(SIGSEGV, SIG_DFL);
    (void)std::signal(SIGTRAP, SIG_DFL);
    ::munmap(watched.sample, watched.pageSize);
}

const std::atomic<float>& SampleInTurn::sample() const {
    return *watched.sample;
}

int SampleInTurn::reads() {
    return static_cast<int>(watched.reads);
}

}  // namespace koraha::test
