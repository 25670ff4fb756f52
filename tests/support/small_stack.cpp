// SPDX-License-Identifier: Apache-2.0
#include "tests/support/small_stack.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstddef>

#ifndef KORAHA_ROUTINE_STACK_BYTES
#define KORAHA_ROUTINE_STACK_BYTES (80 * 1024)
#endif

namespace koraha::test {
namespace {

void* run(void* body) {
    (*static_cast<const std::function<void()>*>(body))();
    return nullptr;
}

}  // namespace

void onSmallStack(const std::function<void()>& body) {
    pthread_attr_t attributes;
    ASSERT_EQ(::pthread_attr_init(&attributes), 0);
    ASSERT_EQ(::pthread_attr_setstacksize(&attributes, std::size_t{KORAHA_ROUTINE_STACK_BYTES}), 0);
    pthread_t thread{};
    auto copy = body;
    ASSERT_EQ(::pthread_create(&thread, &attributes, run, &copy), 0);
    ::pthread_attr_destroy(&attributes);
    ASSERT_EQ(::pthread_join(thread, nullptr), 0);
}

}  // namespace koraha::test
