// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "hasupport/logfile/buffer_head.h"
#include "hasupport/logfile/buffer_layout.h"

namespace KORA::HA::Daemon::support {

/// What of a slab is in use.
struct SlabUse {
    std::size_t from = 0;     ///< no waiting line lies before this
    std::size_t used = 0;     ///< bytes up to the end of its last line
    std::uint64_t first = 0;  ///< the number of its first waiting line; 0: none waits
    std::uint64_t last = 0;   ///< the number of its last waiting line
};

/// What an earlier process left in a buffer.
struct LeftoverLines {
    BufferHead head;
    BufferProgress progress;    ///< as the head says, or guessed where it says nothing
    std::uint64_t highest = 0;  ///< no number up to this one may be given again
    std::array<SlabUse, slabCount> slabs{};
    std::array<std::uint8_t, slabCount> order{};  ///< the slabs with waiting lines, oldest first
    std::size_t count = 0;                        ///< how many of `order` count
};

/// Reads a buffer: its head and the slabs that it has (more than `slabCount` are not looked at).
/// Every whole line that is not done with is found, whatever else is damaged. Pure: any bytes will
/// do.
LeftoverLines parseLeftoverLines(std::string_view head, std::span<const std::string_view> slabs);

}  // namespace KORA::HA::Daemon::support
