// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace KORA::HA::Daemon::support {

/// Writes one JSON text without line breaks from begin to end. Knows where commas belong; that
/// objects and arrays are closed in order is the caller's duty.
class JsonText {
  public:
    JsonText& openObject() { return open('{'); }
    JsonText& closeObject() { return close('}'); }
    JsonText& openArray() { return open('['); }
    JsonText& closeArray() { return close(']'); }

    JsonText& key(std::string_view name);
    JsonText& text(std::string_view value);  ///< bytes that are no UTF-8 become U+FFFD
    JsonText& flag(bool value);
    JsonText& integer(std::int64_t value);
    JsonText& real(float value);      ///< shortest exact form; null unless finite
    JsonText& seconds(double value);  ///< with three decimals; null unless finite
    JsonText& time(std::chrono::system_clock::time_point at);  ///< seconds of the Unix epoch
    JsonText& null();

    /// The text so far; leaves the writer empty, but where it stands as to commas.
    std::string take();

  private:
    JsonText& open(char bracket);
    JsonText& close(char bracket);
    void separate();

    std::string out_;
    bool needsComma_ = false;
};

}  // namespace KORA::HA::Daemon::support
