#include "hasupport/logfile/written_part.h"

#include <algorithm>

namespace KORA::HA::Daemon::support {

WrittenPart findWrittenPart(std::string_view tail, std::string_view batch) {
    const std::size_t firstLine = std::min(batch.find('\n'), batch.size() - 1) + 1;
    for (std::size_t at = 0; at < tail.size() && !batch.empty();) {
        const std::string_view here = tail.substr(at);
        const auto differ = std::mismatch(here.begin(), here.end(), batch.begin(), batch.end());
        const auto same = static_cast<std::size_t>(differ.first - here.begin());
        if (same >= firstLine || (same == here.size() && same > 0)) {
            return {at, same};
        }
        const std::size_t newline = here.find('\n');
        at = newline == std::string_view::npos ? tail.size() : at + newline + 1;
    }
    return {};
}

}  // namespace KORA::HA::Daemon::support
