// SPDX-License-Identifier: Apache-2.0
#include "log/log_line.h"

#include <new>

#include "log/process_objects.h"

namespace KORA::HA::Daemon {

void logMessage(int line, std::string_view message) {
    logMessage(daemonTag, line, message);
}

void logMessage(std::string_view tag, int line, std::string_view message) {
    try {
        std::string text;
        text.reserve(tag.size() + message.size() + 16);
        text.append(tag).append(":").append(std::to_string(line)).append(" ").append(message);
        daemonLog().set(text);
    } catch (const std::bad_alloc&) {
        return;  // it tells of a failure, most often; it must not become one
    }
}

}  // namespace KORA::HA::Daemon
