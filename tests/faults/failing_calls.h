// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

// A library that stands between a program and its system calls and fails a chosen one: linked into
// the driver of the fault tests, preloaded into the daemon. It counts calls of the whole process.
// reboot(2) it never lets through.
//
// A preloaded one takes its order from the environment: KORAHA_FAIL=CALL:N:ERRNO.

extern "C" {

/// What a call is made to do instead of failing: it moves one byte only.
constexpr int koraha_short = -1;

/// From now on the `nth` call of the function (1: the next) fails with `error`, once. Also starts
/// counting anew. False for a function that is not known here.
bool koraha_fail_nth(const char* call, unsigned nth, int error);

/// Fails nothing from now on; counting goes on.
void koraha_fail_none();

/// How often the function was called since the last order.
unsigned koraha_calls(const char* call);

/// The name of the function number `index`, null past the last; and whether it moves bytes, so that
/// it can be short.
const char* koraha_call_name(std::size_t index);
bool koraha_call_moves_bytes(std::size_t index);
}
