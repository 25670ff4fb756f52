// SPDX-License-Identifier: Apache-2.0
// parser: config/number_text.cpp
// parser: config/int_daemon_conf.cpp without Load
#include <json/value.h>

#include <cmath>
#include <cstdlib>
#include <string>

#include "config/int_daemon_conf.h"
#include "config/number_text.h"
#include "fuzz/fuzz_input.h"

using namespace KORA::HA::Daemon;
using koraha::fuzz::require;

namespace {

/// The number texts, compared with what the C library reads in the same text.
void readNumber(const std::string& text) {
    if (const auto whole = intFromText(text)) {
        require(std::trunc(std::strtod(text.c_str(), nullptr)) == *whole);
    }
    if (const auto real = floatFromText(text)) {
        require(std::isfinite(*real) && std::strtof(text.c_str(), nullptr) == *real);
    }
}

/// A getter may throw for a value of an unusable type, and nothing else.
template <typename Getter>
void get(Getter getter, ConfType type) {
    try {
        getter(type);
    } catch (const Json::Exception&) {
        return;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(koraha::fuzz::textOf(data, size));
    readNumber(text);
    TEST_resetDocument();
    const auto problem = TEST_load(text);
    require(!problem || !problem->empty());
    for (const auto& [type, entry] : configTable()) {
        get(GetStr, type);
        get(GetInt, type);
        get(GetFloat, type);
    }
    return 0;
}
