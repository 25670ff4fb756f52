// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace KORA::HA::Daemon::support {

inline constexpr std::size_t kernelFileLimit = std::size_t{1} << 20U;

/// Reads a whole kernel file with as few reads as it takes, retrying EINTR. Nothing when it cannot
/// be opened or read (errno tells why) or is larger than `limit` bytes (errno is EFBIG). Never
/// blocks on a FIFO; never follows one into waiting.
std::optional<std::string> readFile(const std::string& path, std::size_t limit = kernelFileLimit);

/// The same, for files that the kernel makes in one piece, as a process's stat and status: a read
/// that brings less than it could has brought the end, and nobody asks for it again.
std::optional<std::string> readWholeRecord(const std::string& path, std::size_t limit);

/// The file's first line without its line end and surrounding blanks; for one-value sysfs files.
std::optional<std::string> readLine(const std::string& path);
/// The same for a path that begins at the directory.
std::optional<std::string> readLineAt(int directory, const char* path);

}  // namespace KORA::HA::Daemon::support
