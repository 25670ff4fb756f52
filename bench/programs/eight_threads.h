// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

#include <cstddef>

#include "bench/programs/measured.h"

namespace bench {

/// A thread with the stack that the daemon's routines have.
inline void startRoutine(void* (*routine)(void*)) {
    constexpr std::size_t stackBytes = std::size_t{80} * 1024;
    pthread_attr_t attributes;
    pthread_t thread{};
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setstacksize(&attributes, stackBytes);
    need(::pthread_create(&thread, &attributes, routine, nullptr) == 0, "pthread_create");
    ::pthread_attr_destroy(&attributes);
}

}  // namespace bench
