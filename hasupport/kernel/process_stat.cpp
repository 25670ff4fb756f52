// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/process_stat.h"

#include "hasupport/kernel/fields.h"
#include "hasupport/kernel/parse_number.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::uint64_t kernelThreadFlag = 0x00200000;  // PF_KTHREAD

/// Takes numbers out of the fields after the name by their number in proc(5); each call must ask
/// for a later field than the one before.
class FieldReader {
  public:
    explicit FieldReader(std::string_view rest) : rest_(rest) {}

    std::string_view text(int number) {
        std::string_view field;
        for (; next_ <= number; ++next_) {
            field = nextField(rest_);
        }
        return field;
    }

    std::uint64_t number(int number) {
        const auto value = parseUnsigned(text(number));
        complete_ = complete_ && value.has_value();
        return value.value_or(0);
    }

    bool complete() const { return complete_; }

  private:
    static constexpr int firstAfterName = 3;

    std::string_view rest_;
    int next_ = firstAfterName;
    bool complete_ = true;
};

}  // namespace

bool ProcessStat::isKernelThread() const {
    return (flags & kernelThreadFlag) != 0;
}

std::optional<ProcessStat> parseProcessStat(std::string_view text) {
    // A name may even hold a line end, so the text is not cut into lines first.
    const auto open = text.find('(');
    const auto close = text.rfind(')');
    if (open == std::string_view::npos || close == std::string_view::npos || close < open) {
        return std::nullopt;
    }
    std::string_view head = text.substr(0, open);
    std::string_view rest = text.substr(close + 1);
    rest = rest.substr(0, rest.find('\n'));
    const auto pid = parseUnsigned(nextField(head));
    FieldReader fields(rest);
    const std::string_view state = fields.text(3);
    if (!pid || state.size() != 1) {
        return std::nullopt;
    }
    ProcessStat stat;
    stat.pid = *pid;
    stat.name = text.substr(open + 1, close - open - 1);
    stat.state = state.front();
    stat.parent = fields.number(4);
    stat.flags = fields.number(9);
    stat.userTicks = fields.number(14);
    stat.systemTicks = fields.number(15);
    stat.threads = fields.number(20);
    stat.startTicks = fields.number(22);
    stat.residentPages = fields.number(24);
    return fields.complete() ? std::optional(stat) : std::nullopt;
}

std::optional<std::uint64_t> parseStatusKilobytes(std::string_view text, std::string_view key) {
    for (auto at = text.find(key); at != std::string_view::npos; at = text.find(key, at + 1)) {
        std::string_view line = text.substr(at, text.find('\n', at) - at);
        line.remove_prefix(key.size());
        const bool begins = at == 0 || text[at - 1] == '\n';
        if (begins && line.starts_with(':')) {
            line.remove_prefix(1);
            return parseUnsigned(nextField(line));
        }
    }
    return std::nullopt;
}

}  // namespace KORA::HA::Daemon::support
