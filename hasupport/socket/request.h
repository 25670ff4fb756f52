// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/reader.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace KORA::HA::Daemon::support {

inline constexpr std::size_t requestLineLimit = 4096;  ///< bytes, the line end included

enum class RequestKind : std::uint8_t { status, watch, history, invalid };

struct Request {
    RequestKind kind = RequestKind::invalid;
    const char* problem = "";  ///< what is wrong with an invalid one
};

/// Understands the request lines of clients, whatever they contain. Used by one thread; keeps its
/// parser between requests, since building one takes longer than a request.
class RequestReader {
  public:
    RequestReader();

    /// The request that the line (without its end) spells. Unknown members are ignored.
    Request read(std::string_view line);

  private:
    Request parse(std::string_view line);

    std::unique_ptr<Json::CharReader> parser_;
    std::string lastLine_;  // clients mostly ask the same again
    Request last_;
};

}  // namespace KORA::HA::Daemon::support
