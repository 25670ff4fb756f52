// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>
#include <string>
#include <string_view>

namespace korahamonctl {

/// Writes a tar archive (POSIX ustar) to a descriptor, file by file. Used by one thread.
class TarWriter {
  public:
    /// `fd` stays the caller's; `now` becomes the time of every file.
    TarWriter(int fd, std::time_t now) : fd_(fd), now_(now) {}

    /// Adds one file that only its owner may read. Names of more than 99 bytes are left out.
    void add(const std::string& name, std::string_view text);
    /// Ends the archive. 0, or the errno of the first write that failed.
    int finish();

  private:
    void write(std::string_view bytes);
    void fill(std::size_t written);

    int fd_;
    std::time_t now_;
    int error_ = 0;
};

}  // namespace korahamonctl
