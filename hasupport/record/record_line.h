// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace KORA::HA::Daemon::support {

/// Where a record's lines go.
using LineSink = std::function<void(const std::string& line)>;

/// One line of the record log: `record=KIND key=value key=value ...`. A value never holds a blank,
/// an equals sign, a quote, a backslash or a control character: those are written as \xNN, so that
/// no text from outside can look like another key. Long values are cut.
class RecordLine {
  public:
    explicit RecordLine(std::string_view kind);

    RecordLine& text(std::string_view key, std::string_view value);
    RecordLine& number(std::string_view key, std::uint64_t value);
    RecordLine& real(std::string_view key, double value);  ///< as with "%.6f"; "nan", "inf"
    RecordLine& flag(std::string_view key, bool value);    ///< "true" or "false"
    /// UTC, ISO 8601, milliseconds.
    RecordLine& time(std::string_view key, std::chrono::system_clock::time_point value);

    const std::string& str() const { return line_; }

  private:
    void begin(std::string_view key);

    std::string line_;
};

}  // namespace KORA::HA::Daemon::support
