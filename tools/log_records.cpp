// SPDX-License-Identifier: Apache-2.0
#include "tools/log_records.h"

#include <algorithm>
#include <utility>

namespace korahamonctl {
namespace {

constexpr std::size_t sizeLimit = std::size_t{64} << 10U;
constexpr std::string_view cutMark = "...";

// One byte too many is kept, so that the text is known to have been cut.
void appendBounded(std::string& text, std::string_view more) {
    text.append(more.substr(0, sizeLimit + 1 - std::min(text.size(), sizeLimit + 1)));
}

}  // namespace

void LogRecords::feed(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto end = bytes.find('\n');
        appendBounded(line_, bytes.substr(0, end));
        if (end == std::string_view::npos) {
            return;
        }
        endLine();
        bytes.remove_prefix(end + 1);
    }
}

void LogRecords::endLine() {
    if (hasRecord_ && line_.starts_with('\t')) {
        appendBounded(record_, "\n");
        appendBounded(record_, line_);
        line_.clear();
        return;
    }
    giveRecord();
    record_ = std::exchange(line_, {});
    hasRecord_ = true;
}

void LogRecords::giveRecord() {
    if (!std::exchange(hasRecord_, false)) {
        return;
    }
    if (record_.size() > sizeLimit) {
        record_.resize(sizeLimit);
        record_ += cutMark;
    }
    take_(record_);
    record_.clear();
}

void LogRecords::settle() {
    if (line_.empty()) {
        giveRecord();
    }
}

void LogRecords::end() {
    if (!line_.empty()) {
        endLine();
    }
    giveRecord();
}

}  // namespace korahamonctl
