// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/line_stamp.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace KORA::HA::Daemon::support {
namespace {

/// "00" to "99"
constexpr auto pairs = [] {
    std::array<char, 200> digits{};
    for (std::size_t i = 0; i < digits.size() / 2; ++i) {
        digits.at(2 * i) = static_cast<char>('0' + i / 10);
        digits.at(2 * i + 1) = static_cast<char>('0' + i % 10);
    }
    return digits;
}();

void putPair(char* at, std::uint32_t number) {
    std::memcpy(at, &pairs.at(std::size_t{2} * number), 2);
}

}  // namespace

LineStamp::LineStamp() {
    constexpr std::string_view epoch = "1970-01-01T00:00:00.000000Z ";
    static_assert(epoch.size() == stampBytes);
    std::copy(epoch.begin(), epoch.end(), stamp_.begin());
}

const Stamp& LineStamp::at(std::chrono::system_clock::time_point at) {
    using namespace std::chrono;
    if (at < second_ || at - second_ >= seconds(1)) {
        setSecond(floor<seconds>(at));
    }
    const auto fraction = static_cast<std::uint32_t>(floor<microseconds>(at - second_).count());
    putPair(stamp_.data() + 20, fraction / 10000);
    putPair(stamp_.data() + 22, fraction / 100 % 100);
    putPair(stamp_.data() + 24, fraction % 100);
    return stamp_;
}

void LineStamp::setSecond(std::chrono::sys_seconds second) {
    using namespace std::chrono;
    const auto day = floor<days>(second);
    const year_month_day date(day);
    const hh_mm_ss time(second - day);
    const auto year = static_cast<std::uint32_t>(int{date.year()});
    putPair(stamp_.data(), year / 100 % 100);
    putPair(stamp_.data() + 2, year % 100);
    putPair(stamp_.data() + 5, unsigned{date.month()});
    putPair(stamp_.data() + 8, unsigned{date.day()});
    putPair(stamp_.data() + 11, static_cast<std::uint32_t>(time.hours().count()));
    putPair(stamp_.data() + 14, static_cast<std::uint32_t>(time.minutes().count()));
    putPair(stamp_.data() + 17, static_cast<std::uint32_t>(time.seconds().count()));
    second_ = second;
}

}  // namespace KORA::HA::Daemon::support
