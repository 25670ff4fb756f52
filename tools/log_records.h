// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace korahamonctl {

/// Makes records of the bytes of a log: a line, and the lines behind it that begin with a tab. What
/// is longer than 64 KiB is cut, with "..." behind it.
class LogRecords {
  public:
    using Taker = std::function<void(const std::string& record)>;

    /// `take` gets each record, without its last newline.
    explicit LogRecords(Taker take) : take_(std::move(take)) {}

    void feed(std::string_view bytes);
    /// All that was written so far has been fed: the last record is complete, half a line is not.
    void settle();
    /// Nothing comes any more: half a line is a line.
    void end();

  private:
    void endLine();
    void giveRecord();

    Taker take_;
    std::string record_;
    std::string line_;
    bool hasRecord_ = false;
};

}  // namespace korahamonctl
