// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace KORA::HA::Daemon::support {

/// Where in which file a batch was about to be written.
struct FileMark {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t size = 0;

    bool operator==(const FileMark&) const = default;
};

/// Lines on their way into a file: those after `consumed` up to `through`.
struct Flight {
    std::uint64_t through = 0;
    FileMark mark;

    bool operator==(const Flight&) const = default;
};

/// How far a buffer's lines have come.
struct BufferProgress {
    std::uint64_t consumed = 0;  ///< every line up to this one is done with
    std::optional<Flight> flight;

    bool operator==(const BufferProgress&) const = default;
};

/// What the head of a buffer says.
struct BufferHead {
    std::uint32_t version = 0;  ///< 0: there is no such head
    std::optional<BufferProgress> progress;
    std::uint64_t generation = 0;  ///< of that progress
    std::uint64_t issued = 0;  ///< numbers given to lines that are not in this buffer, the last one
};

inline constexpr std::uint32_t bufferVersion = 1;

/// Pure: any bytes will do.
BufferHead parseBufferHead(std::string_view head);

/// Writes the head of a buffer, `bufferHeadBytes` of it. A process that is killed at any moment
/// leaves the progress as it was before or as it is after. Goes on from the `generation` of a head
/// that was found.
class BufferHeadWriter {
  public:
    BufferHeadWriter() = default;
    explicit BufferHeadWriter(char* at, std::uint64_t generation = 0)
        : at_(at), generation_(generation) {}

    /// Makes a new head, which knows no progress yet.
    void begin();
    void setProgress(const BufferProgress& progress);
    void setIssued(std::uint64_t sequence);

  private:
    char* at_ = nullptr;
    std::uint64_t generation_ = 0;
};

}  // namespace KORA::HA::Daemon::support
