// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "hasupport/logfile/buffer_file.h"

namespace KORA::HA::Daemon::support {

/// What flushing a log without its daemon came to.
struct FlushOutcome {
    enum class Result { nothingLeft, written, inUse, failed };
    Result result = Result::failed;
    std::string problem;  ///< why it failed, or who uses the buffer
};

/// Writes what an ended daemon left in the buffer of a log to the log's file. A buffer that a
/// running process holds is left to that process; nothing is made where nothing was left.
FlushOutcome flushLeftovers(const BufferPlace& place, const std::string& directory,
                            const std::string& fileName);

}  // namespace KORA::HA::Daemon::support
