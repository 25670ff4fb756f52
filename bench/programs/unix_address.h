// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>

namespace bench {

struct UnixAddress {
    sockaddr_un value{};

    explicit UnixAddress(const char* path) {
        value.sun_family = AF_UNIX;
        std::strncpy(value.sun_path, path, sizeof value.sun_path - 1);
    }
    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&value); }
    static socklen_t size() { return sizeof(sockaddr_un); }
};

}  // namespace bench
