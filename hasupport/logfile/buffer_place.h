// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/logfile/buffer_file.h"

namespace KORA::HA::Daemon::support {

/// Where this process keeps its buffers.
const BufferPlace& bufferPlace();
/// Elsewhere, for a test; before any log is used.
void TEST_setBufferDirectory(const std::string& directory);

}  // namespace KORA::HA::Daemon::support
