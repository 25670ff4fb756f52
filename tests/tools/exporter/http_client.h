// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "hasupport/io/unique_fd.h"

namespace koraha::test {

/// A connection to a port of this machine.
KORA::HA::Daemon::support::UniqueFd connectTo(int port);

/// All that comes until the other side leaves; nothing more after 30 s.
std::string readToEnd(int fd);

/// Reads until the text has come, or 30 s have passed; what came.
std::string readUntil(int fd, const std::string& text);

/// Sends the bytes as they are, and gives the whole answer.
std::string exchange(int port, const std::string& bytes);

/// A sound request for a path, with further header lines.
std::string get(const std::string& path, int port, const std::string& headers = "");

}  // namespace koraha::test
