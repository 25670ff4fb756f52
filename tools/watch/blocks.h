// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/watch/canvas.h"
#include "tools/watch/last_hour.h"

namespace korahamonctl::watch {

// The last hour as lines of blocks, one for each part of it. A part in which nothing was measured
// has a dot.

/// The highest latency: a full block from the threshold on, the lowest a thousandth of it and
/// below, between them by equal factors. A cross where a sample had no round trip to tell.
Cells latencyBlocks(const LastHour& hour, double threshold);

/// The share of echoes that were lost: the lowest block for none, a full one for all.
Cells lossBlocks(const LastHour& hour);

/// The rate of failed packets, on the scale of the latency; the lowest block for none.
Cells rateBlocks(const LastHour& hour, double threshold);

}  // namespace korahamonctl::watch
