// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/written_part.h"

#include <algorithm>

namespace KORA::HA::Daemon::support {
namespace {

// Where a line of another writer follows, what looks like the begin of our next line is its stamp.
std::size_t wholeLines(std::string_view batch, std::size_t size) {
    while (size > 0 && size < batch.size() && (batch[size - 1] != '\n' || batch[size] == '\t')) {
        --size;
    }
    return size;
}

}  // namespace

WrittenPart findWrittenPart(std::string_view tail, std::string_view batch) {
    const std::size_t firstLine = std::min(batch.find('\n'), batch.size() - 1) + 1;
    for (std::size_t at = 0; at < tail.size() && !batch.empty();) {
        const std::string_view here = tail.substr(at);
        const auto differ = std::mismatch(here.begin(), here.end(), batch.begin(), batch.end());
        const auto same = static_cast<std::size_t>(differ.first - here.begin());
        if (same == here.size() && same > 0) {
            return {at, same};
        }
        if (same >= firstLine && wholeLines(batch, same) > 0) {
            return {at, wholeLines(batch, same)};
        }
        const std::size_t newline = here.find('\n');
        at = newline == std::string_view::npos ? tail.size() : at + newline + 1;
    }
    return {};
}

}  // namespace KORA::HA::Daemon::support
