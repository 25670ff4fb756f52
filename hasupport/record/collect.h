// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/io/kernel_roots.h"
#include "hasupport/record/record_line.h"
#include "hasupport/status.h"

namespace KORA::HA::Daemon::support {

// What the four record functions write, with the kernel's files and the log in the caller's hands.
// False when the source could not be read.

bool collectMemory(const KernelRoots& roots, const LineSink& sink);
bool collectProcesses(const KernelRoots& roots, const LineSink& sink);
bool collectDiskUsage(const KernelRoots& roots, const LineSink& sink);
/// Also writes the samples with a sequence above `lastSample`, and moves that on.
bool collectStatus(Status& status, std::uint64_t& lastSample, const LineSink& sink);

}  // namespace KORA::HA::Daemon::support
