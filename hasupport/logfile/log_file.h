#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace KORA::HA::Daemon::support {

/// What became of a write: how many bytes are in the file, and the error that stopped it, if any.
struct WriteOutcome {
    std::size_t written = 0;
    int error = 0;
};

/// A log's file. Used by one thread at a time; blocks for as long as the disk takes.
class LogFile {
  public:
    LogFile(std::string directory, const std::string& fileName);

    /// Appends to the file (mode 0640, never through a link), making it and its directory (0750)
    /// where they are missing.
    WriteOutcome append(std::string_view bytes) const;

    /// Bytes in the file; 0 when there is none.
    std::int64_t size() const;

    /// FILE.4 becomes FILE.5, ... and FILE becomes FILE.1; interrupted anywhere, no file but the
    /// oldest is lost. False when FILE could not be renamed.
    bool rotate() const;

    const std::string& path() const { return path_; }

  private:
    std::string directory_;
    std::string path_;
};

}  // namespace KORA::HA::Daemon::support
