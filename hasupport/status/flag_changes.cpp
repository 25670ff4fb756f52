// SPDX-License-Identifier: Apache-2.0
#include "hasupport/status/flag_changes.h"

#include <array>
#include <atomic>

#include "hasupport/status/history.h"

namespace KORA::HA::Daemon::support {
namespace {

enum class Last : std::uint8_t { unknown, no, yes };

struct Words {
    const char* no;
    const char* yes;
};

constexpr std::array<Words, 6> words = {{
    {"the peer is not alive", "the peer is alive"},
    {"DRBD is not connected", "DRBD is connected"},
    {"no array of the peer resynchronises any more", "an array of the peer resynchronises"},
    {"no disk of the peer is under error handling any more",
     "a disk of the peer is under error handling"},
    {"no array here resynchronises any more", "an array here resynchronises"},
    {"no disk here is under error handling any more", "a disk here is under error handling"},
}};

constinit std::array<std::atomic<Last>, words.size()> lastValues{};

}  // namespace

void noteFlag(Reading reading, bool value) {
    noteGood(reading);
    const auto index = static_cast<std::size_t>(reading);
    if (index >= words.size()) {
        return;
    }
    const Last now = value ? Last::yes : Last::no;
    const Last before = lastValues[index].exchange(now);
    if (before != Last::unknown && before != now) {
        noteEvent(value ? words[index].yes : words[index].no);
    }
}

}  // namespace KORA::HA::Daemon::support
