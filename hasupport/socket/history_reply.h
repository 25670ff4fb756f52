// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "hasupport/text/json_text.h"

namespace KORA::HA::Daemon::support {

/// The reply to a history request, made piece by piece as the client reads it, so that a slow
/// client costs one piece of memory. Used by one thread.
class HistoryReply {
  public:
    /// The next piece of the line, a few KiB; the last one ends the line, after it comes an empty
    /// one.
    std::string next();

  private:
    enum class Stage : std::uint8_t { begin, samples, events, done };

    void writeSamples();
    void writeEvents();

    JsonText json_;
    Stage stage_ = Stage::begin;
    std::uint64_t lastSample_ = 0;
    std::size_t written_ = 0;
};

}  // namespace KORA::HA::Daemon::support
