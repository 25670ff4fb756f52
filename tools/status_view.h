#pragma once

#include <json/value.h>

#include <iosfwd>
#include <string>

namespace korahamonctl {

/// Whether the health record gives no cause for alarm: the peer alive, DRBD connected, no error
/// handling, no degraded array, and every value valid and fresh. A resynchronisation is well.
bool isAllWell(const Json::Value& status);

/// A value is stale when it was last measured longer ago than three default paces of its loop and
/// its probe's bound; the interface rate rests for hours by default and is judged by its attempts.
bool isStale(const std::string& reading, const Json::Value& state);

/// The record for a person, a line per value; what is unknown is shown as unknown.
void printStatus(const Json::Value& status, std::ostream& out);

/// The record in one line.
std::string oneLine(const Json::Value& status);

/// Text from the daemon with its control characters made visible.
std::string visible(const std::string& text);

}  // namespace korahamonctl
