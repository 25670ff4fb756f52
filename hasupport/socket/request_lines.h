// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "hasupport/socket/request.h"

namespace KORA::HA::Daemon::support {

/// Collects the bytes of a stream socket and cuts them into lines, in fixed memory.
class RequestLines {
  public:
    enum class Received : std::uint8_t { some, nothing, ended, broken };

    /// Reads once from the non-blocking socket, as much as there is room for.
    Received receive(int fd);

    /// Takes the next complete line, without its end; valid until the next call of anything.
    std::optional<std::string_view> takeLine();
    /// Takes what is left when the stream has ended without a line end.
    std::optional<std::string_view> takeRest();

    bool isFull() const { return end_ - begin_ == bytes_.size(); }  ///< with no line: endless
    bool isEmpty() const { return begin_ == end_; }
    bool hasLine() const;

  private:
    std::string_view pending() const { return {bytes_.data() + begin_, end_ - begin_}; }
    void compact();

    std::array<char, requestLineLimit> bytes_{};
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
};

}  // namespace KORA::HA::Daemon::support
