// SPDX-License-Identifier: Apache-2.0
#include "tests/daemon/support/thread_calls.h"

#include <dlfcn.h>
#include <pthread.h>

#include <cerrno>
#include <mutex>
#include <utility>

#include "tests/support/failing_memory.h"

namespace koraha::test {
namespace {

struct Made {
    int number;
    pthread_t thread;
};

struct ThreadCalls {
    std::mutex mutex;  // guards everything below
    std::function<bool(int)> hook = [](int) { return true; };
    int next = 0;
    std::vector<Made> made;
    std::vector<int> joined;
};

ThreadCalls& threadCalls() {
    static ThreadCalls& theOne = *new ThreadCalls;
    return theOne;
}

template <typename Function>
Function libraryFunction(const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

std::pair<int, std::function<bool(int)>> nextThread() {
    ThreadCalls& calls = threadCalls();
    const std::lock_guard lock(calls.mutex);
    return {calls.next++, calls.hook};
}

void noteJoin(pthread_t thread) {
    ThreadCalls& calls = threadCalls();
    const std::lock_guard lock(calls.mutex);
    for (auto each = calls.made.rbegin(); each != calls.made.rend(); ++each) {
        if (::pthread_equal(each->thread, thread) != 0) {
            calls.joined.push_back(each->number);
            return;
        }
    }
}

}  // namespace

int threadsMade() {
    const std::lock_guard lock(threadCalls().mutex);
    return threadCalls().next;
}

void beforeEachThread(std::function<bool(int number)> hook) {
    const std::lock_guard lock(threadCalls().mutex);
    threadCalls().hook = std::move(hook);
}

std::vector<int> threadsJoined() {
    const std::lock_guard lock(threadCalls().mutex);
    return threadCalls().joined;
}

}  // namespace koraha::test

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the library's are reserved
extern "C" [[gnu::visibility("default")]] int pthread_create(pthread_t* thread,
                                                             const pthread_attr_t* attributes,
                                                             void* (*body)(void*),
                                                             void* argument) noexcept {
    using namespace koraha::test;
    const AllocationsAside aside;
    static const auto create = libraryFunction<decltype(&::pthread_create)>("pthread_create");
    const auto [number, hook] = nextThread();
    if (!hook(number)) {
        return EAGAIN;
    }
    const int error = create(thread, attributes, body, argument);
    if (error == 0) {
        const std::lock_guard lock(threadCalls().mutex);
        threadCalls().made.push_back({number, *thread});
    }
    return error;
}

extern "C" [[gnu::visibility("default")]] int pthread_join(pthread_t thread, void** result) {
    using namespace koraha::test;
    static const auto join = libraryFunction<decltype(&::pthread_join)>("pthread_join");
    noteJoin(thread);
    return join(thread, result);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
