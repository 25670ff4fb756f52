// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/meminfo.h"

#include "hasupport/kernel/fields.h"
#include "hasupport/kernel/parse_number.h"

namespace KORA::HA::Daemon::support {

std::vector<MemoryFigure> parseMeminfo(std::string_view text) {
    std::vector<MemoryFigure> figures;
    std::string_view line;
    while (nextLine(text, line)) {
        std::string_view name = nextField(line);
        const auto kilobytes = parseUnsigned(nextField(line));
        if (name.size() > 1 && name.back() == ':' && kilobytes && nextField(line) == "kB") {
            name.remove_suffix(1);
            figures.push_back({name, *kilobytes});
        }
    }
    return figures;
}

}  // namespace KORA::HA::Daemon::support
