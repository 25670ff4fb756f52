// SPDX-License-Identifier: Apache-2.0
#include "tools/explain_command.h"

#include <algorithm>
#include <cctype>
#include <ostream>
#include <string_view>

#include "tools/exit_codes.h"
#include "tools/message_table.h"
#include "tools/visible.h"

namespace korahamonctl {
namespace {

constexpr std::size_t shownOfQuestion = 200;

std::string lower(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return out;
}

void print(const Message& message, std::ostream& out) {
    out << message.tag << ':';
    if (message.number != 0) {
        out << message.number;
    }
    out << ' ' << message.text << "\n  means  " << message.meaning << "\n  do     "
        << message.remedy << "\n  topic  " << topicName(message.topic) << '\n';
}

// A part of a message's text was given, or a line that holds the text without its prefix.
bool fits(const Message& message, const std::string& asked) {
    const std::string text = lower(message.text);
    return text.find(asked) != std::string::npos || asked.find(text) != std::string::npos;
}

}  // namespace

int explain(const std::string& asked, std::ostream& out, std::ostream& err) {
    if (const Message* message = messageOf(asked); message != nullptr) {
        print(*message, out);
        return exitFine;
    }
    const std::string words = lower(asked);
    bool found = false;
    for (const Message& message : messageTable()) {
        if (fits(message, words)) {
            print(message, out);
            found = true;
        }
    }
    if (!found) {
        err << "korahamonctl: no message is like this: " << visible(asked, shownOfQuestion) << '\n';
    }
    return found ? exitFine : exitConcern;
}

}  // namespace korahamonctl
