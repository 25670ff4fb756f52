// SPDX-License-Identifier: Apache-2.0
#include "tests/support/failing_memory.h"

#include <cstddef>
#include <cstdlib>
#include <new>
#include <utility>

namespace {

constexpr int none = -1;

thread_local int untilFailure = none;
thread_local bool forGood = false;
thread_local bool failed = false;

}  // namespace

namespace koraha::test {

FailingAllocation::FailingAllocation(int number, bool andAllBehindIt) {
    untilFailure = number;
    forGood = andAllBehindIt;
    failed = false;
}
FailingAllocation::~FailingAllocation() {
    untilFailure = none;
}
bool FailingAllocation::hasFailed() {
    return failed;
}

AllocationsAside::AllocationsAside() : untilFailure_(std::exchange(untilFailure, none)) {}
AllocationsAside::~AllocationsAside() {
    untilFailure = untilFailure_;
}

}  // namespace koraha::test

void* operator new(std::size_t size) {
    const bool fails = untilFailure == 0;
    failed = failed || fails;
    if (untilFailure != none && !(fails && forGood)) {
        --untilFailure;
    }
    void* memory = fails ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
