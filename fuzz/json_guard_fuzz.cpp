// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/text/json_guard.cpp
#include "hasupport/text/json_guard.h"

#include <json/reader.h>
#include <json/value.h>

#include <memory>
#include <string>

#include "fuzz/fuzz_input.h"

namespace {

constexpr unsigned levels = 16;

enum class Outcome { parsed, refused, tooDeep };

/// A parser that gives up below so many levels; a value inside the innermost one takes one more.
std::unique_ptr<Json::CharReader> parserWithLimit(unsigned limit, bool exact) {
    Json::CharReaderBuilder builder;
    builder["stackLimit"] = limit;
    builder["collectComments"] = !exact;
    builder["failIfExtra"] = exact;
    return std::unique_ptr<Json::CharReader>(builder.newCharReader());
}

Outcome parse(Json::CharReader& parser, std::string_view text) {
    Json::Value document;
    std::string errors;
    try {
        const bool good = parser.parse(text.data(), text.data() + text.size(), &document, &errors);
        return good ? Outcome::parsed : Outcome::refused;
    } catch (const Json::Exception& error) {
        const bool tooDeep = std::string_view(error.what()).find("stackLimit") != std::string::npos;
        return tooDeep ? Outcome::tooDeep : Outcome::refused;
    }
}

}  // namespace

// The guard lets nothing through that takes the parser deeper than it says, and refuses nothing
// that the parser would have taken within the limit; but the parser takes a zero byte for the end,
// behind which the guard goes on counting.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto lenient = parserWithLimit(levels + 1, false);
    static const auto exact = parserWithLimit(levels + 1, true);
    static const auto within = parserWithLimit(levels, true);
    const auto text = koraha::fuzz::textOf(data, size);
    const bool bounded = KORA::HA::Daemon::support::jsonIsBounded(text, size, levels);
    koraha::fuzz::require(!bounded || parse(*lenient, text) != Outcome::tooDeep);
    koraha::fuzz::require(!bounded || parse(*exact, text) != Outcome::tooDeep);
    koraha::fuzz::require(bounded || parse(*within, text) != Outcome::parsed ||
                          text.find('\0') != std::string_view::npos);
    koraha::fuzz::require(size == 0 ||
                          !KORA::HA::Daemon::support::jsonIsBounded(text, size - 1, levels));
    return 0;
}
