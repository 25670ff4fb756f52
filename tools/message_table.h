// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string_view>

namespace korahamonctl {

/// What a message is about.
enum class Topic { start, flag, latency, packets, disk, restart, trouble };

/// One message of the daemon, or of the support library to the system log.
struct Message {
    int number;  ///< behind the tag and a colon; 0: it has none
    Topic topic;
    std::string_view tag;   ///< who says it
    std::string_view text;  ///< how it begins behind the prefix
    std::string_view meaning;
    std::string_view remedy;
};

/// Every message there is, by tag and number.
std::span<const Message> messageTable();

/// The word for a topic on the command line.
std::string_view topicName(Topic topic);

/// The message that a line from a log or the system log holds, the number of one ("331"), or null.
const Message* messageOf(std::string_view line);

}  // namespace korahamonctl
