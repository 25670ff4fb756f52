// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "hasupport/io/unique_fd.h"
#include "hasupport/logfile/buffer_head.h"

namespace KORA::HA::Daemon::support {

/// What became of a write: how many bytes are in the file, and the error that stopped it, if any.
struct WriteOutcome {
    std::size_t written = 0;
    int error = 0;
};

/// A log's file, open for one flush. Blocks for as long as the disk takes.
class OpenLogFile {
  public:
    OpenLogFile(UniqueFd fd, int error) : fd_(std::move(fd)), error_(error) {}

    /// Why it is not open; 0 when it is.
    int error() const { return error_; }
    /// Which file it is, and where its end is now.
    std::optional<FileMark> mark() const;

    WriteOutcome append(std::string_view bytes) const;
    /// Reads from `offset` to the end of the file, but no more than `limit` bytes.
    std::optional<std::string> readFrom(std::uint64_t offset, std::size_t limit) const;
    /// Cuts the file's end off, provided that the file is `size` bytes long.
    bool cut(std::uint64_t size, std::uint64_t newSize) const;
    /// Brings it to the disk. A failure does not undo what was written.
    void sync() const;

  private:
    UniqueFd fd_;
    int error_ = 0;
};

/// A log's file and its rotated ones. Used by one thread at a time.
class LogFile {
  public:
    LogFile(std::string directory, const std::string& fileName);

    /// Opens the file (mode 0640, never through a link), making it and its directory (0750) where
    /// they are missing.
    OpenLogFile openToAppend() const;

    /// Opens the file that a mark was made in, under whatever name it has after rotations, and no
    /// other. Error ENOENT: it has none any more.
    OpenLogFile openMarked(const FileMark& mark) const;

    /// Bytes in the file; 0 when there is none.
    std::int64_t size() const;

    /// FILE.4 becomes FILE.5, ... and FILE becomes FILE.1; interrupted anywhere, no file but the
    /// oldest is lost. False, and errno says why, when FILE or one of them could not be renamed.
    bool rotate() const;

    const std::string& path() const { return path_; }

  private:
    std::string numbered(int number) const;

    std::string directory_;
    std::string path_;
};

}  // namespace KORA::HA::Daemon::support
