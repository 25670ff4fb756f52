// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace KORA::HA::Daemon::support {

/// How a log's buffer is laid out: a page for its head, five slabs of lines, and, while the disk
/// takes no lines, up to fifteen large slabs behind them. A line lies in one slab; a slab is used
/// anew once all its lines are done with.
inline constexpr std::size_t bufferHeadBytes = std::size_t{4} << 10U;
inline constexpr std::size_t smallSlabBytes = std::size_t{12} << 10U;
inline constexpr std::size_t smallSlabs = 5;
inline constexpr std::size_t bufferBaseBytes = bufferHeadBytes + smallSlabs * smallSlabBytes;
inline constexpr std::size_t largeSlabBytes = std::size_t{256} << 10U;
inline constexpr std::size_t largeSlabs = 15;
inline constexpr std::size_t bufferMaxBytes = bufferBaseBytes + largeSlabs * largeSlabBytes;
inline constexpr std::size_t slabCount = smallSlabs + largeSlabs;

static_assert(bufferBaseBytes == std::size_t{64} << 10U);
static_assert(bufferMaxBytes <= std::size_t{4} << 20U);

}  // namespace KORA::HA::Daemon::support
