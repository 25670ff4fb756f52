#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace KORA::HA::Daemon::support {

/// Lines that wait for the disk, whole and in order, up to a ceiling: past it the oldest ones go,
/// but never bytes that are being written. Needs a lock around it.
class PendingLines {
  public:
    explicit PendingLines(std::size_t ceiling) : ceiling_(ceiling) {}

    /// Appends one whole line (with its newline), making room where there is none.
    void append(std::string_view line);

    /// A copy of the oldest bytes, at most `limit`, ending with a line's end where one fits; they
    /// stay, and are not dropped, until `written` is called.
    std::string batch(std::size_t limit);
    /// Removes the first `bytes` of the batch; the rest of it is ordinary again.
    void written(std::size_t bytes);

    bool empty() const { return text_.empty(); }
    /// Lines dropped since the last call.
    std::uint64_t takeLost();

  private:
    void makeRoom(std::size_t wanted);

    std::size_t ceiling_;
    std::string text_;
    std::size_t busy_ = 0;  // bytes at the front that are being written
    std::uint64_t lost_ = 0;
};

}  // namespace KORA::HA::Daemon::support
