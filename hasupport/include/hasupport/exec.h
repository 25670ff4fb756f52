// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/export.h"

/// Runs the program at `path` with the given arguments (a list of strings ended by a null pointer;
/// argv[0] is the path) and waits for it, at most 60 seconds: then it is ended with its whole
/// process group. `options` is a set of bits, described in hasupport/core/exec_options.h; 187 means
/// wait, own process group, default signals, standard streams on /dev/null, no inherited
/// descriptors, a small fixed environment.
///
/// Returns the program's exit status, 128 + N when signal N ended it, or -1 when it could not be
/// run or took too long. May be called from any thread; nothing passes through a shell.
KORAHA_EXPORT int VLIBCExecl(const char* path, int options, const char* arg, ...);
