// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace koraha::test {

/// Listens where the C library sends what goes to the system log. For a process with mounts of its
/// own: /dev is empty but for the log from then on.
class SystemLog {
  public:
    SystemLog();
    ~SystemLog();
    SystemLog(const SystemLog&) = delete;
    SystemLog& operator=(const SystemLog&) = delete;

    /// What has arrived since the last look, each message without its time: "<11>ident: text".
    std::vector<std::string> messages() const;

  private:
    int socket_ = -1;
};

}  // namespace koraha::test
