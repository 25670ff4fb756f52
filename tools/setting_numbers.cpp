// SPDX-License-Identifier: Apache-2.0
#include "tools/setting_numbers.h"

#include <cmath>
#include <limits>

#include "config/number_text.h"

namespace korahamonctl {

using KORA::HA::Daemon::ConfType;

std::optional<double> numberIn(ConfType type, const std::string& text) {
    if (isReal(type)) {
        return KORA::HA::Daemon::floatFromText(text);
    }
    return KORA::HA::Daemon::intFromText(text);
}

// The fraction is cut off after that: one above the greatest number is too much.
bool fitsWhole(double number) {
    return number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max();
}

bool isReal(ConfType type) {
    return type == KORA::HA::Daemon::THR_OF_HB_LATENCY ||
           type == KORA::HA::Daemon::THR_OF_HB_PKT_DROP;
}

double settingFrom(const Configured& configured, ConfType type) {
    const std::string& defaultText = KORA::HA::Daemon::configTable().at(type).second;
    const double fallback = numberIn(type, defaultText).value_or(0);
    if (const auto* const text = std::get_if<std::string>(&configured)) {
        return numberIn(type, *text).value_or(fallback);
    }
    const double* const number = std::get_if<double>(&configured);
    if (number == nullptr) {
        return fallback;
    }
    if (isReal(type)) {
        return *number;
    }
    return fitsWhole(*number) ? std::trunc(*number) : fallback;
}

}  // namespace korahamonctl
