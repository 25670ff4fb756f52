#include "hasupport/logfile/pending_lines.h"

#include <algorithm>
#include <utility>

namespace KORA::HA::Daemon::support {

void PendingLines::append(std::string_view line) {
    if (text_.size() + line.size() > ceiling_) {
        makeRoom(line.size());
    }
    if (text_.size() + line.size() > ceiling_) {
        ++lost_;  // only what is being written is left, and it may not go
        return;
    }
    text_.append(line);
}

void PendingLines::makeRoom(std::size_t wanted) {
    std::size_t end = busy_;
    while (end < text_.size() && text_.size() - (end - busy_) + wanted > ceiling_) {
        const auto newline = text_.find('\n', end);
        // A line that was broken in two goes with its continuation, which begins with a tab.
        end = newline == std::string::npos ? text_.size() : newline + 1;
        while (end < text_.size() && text_[end] == '\t') {
            const auto next = text_.find('\n', end);
            end = next == std::string::npos ? text_.size() : next + 1;
        }
        ++lost_;
    }
    text_.erase(busy_, end - busy_);
}

std::string PendingLines::batch(std::size_t limit) {
    std::size_t size = std::min(limit, text_.size());
    if (size < text_.size()) {
        const auto newline = text_.rfind('\n', size - 1);
        size = newline == std::string::npos ? size : newline + 1;
    }
    busy_ = size;
    return text_.substr(0, size);
}

void PendingLines::written(std::size_t bytes) {
    text_.erase(0, std::min(bytes, text_.size()));
    busy_ = 0;
}

std::uint64_t PendingLines::takeLost() {
    return std::exchange(lost_, 0);
}

}  // namespace KORA::HA::Daemon::support
