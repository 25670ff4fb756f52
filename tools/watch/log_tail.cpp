// SPDX-License-Identifier: Apache-2.0
#include "tools/watch/log_tail.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace korahamonctl::watch {
namespace {

constexpr std::size_t keptRecords = 500;

}  // namespace

LogTail::LogTail(const std::string& path)
    : records_([this](const std::string& record) {
          std::string line = record;
          std::replace(line.begin(), line.end(), '\n', ' ');
          std::replace(line.begin(), line.end(), '\t', ' ');
          kept_.push_back(std::move(line));
          if (kept_.size() > keptRecords) {
              kept_.pop_front();
          }
          grown_ = true;
      }),
      source_(path) {
    source_.readAll([this](std::string_view bytes) { records_.feed(bytes); });
    records_.settle();
}

bool LogTail::readOn() {
    source_.readMore([this](std::string_view bytes) { records_.feed(bytes); });
    records_.settle();
    return std::exchange(grown_, false);
}

std::string LogTail::problem() const {
    return source_.isThere() || !kept_.empty() ? std::string() : std::strerror(source_.error());
}

}  // namespace korahamonctl::watch
