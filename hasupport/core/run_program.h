// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/export.h"
#include "hasupport/io/deadline.h"

namespace KORA::HA::Daemon::support {

/// How long a program may run, and how long its end may take once it was killed.
struct RunLimits {
    Milliseconds run{60'000};
    Milliseconds ending{2'000};
};

/// What VLIBCExecl does, with a null-terminated argument list (argv[0] first). The exit status,
/// 128 + N when signal N ended the program, or -1 with the reason in errno: it could not be run
/// (ETIMEDOUT: it ran past its limit and was ended). Any thread.
KORAHA_EXPORT int runProgram(const char* path, unsigned options, const char* const* arguments,
                             const RunLimits& limits = {});

}  // namespace KORA::HA::Daemon::support
