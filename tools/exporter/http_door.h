// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <httplib.h>

#include <atomic>
#include <cstdint>

#include "tools/exporter/host_check.h"
#include "tools/exporter/listen_address.h"

namespace korahamonctl {

/// An HTTP server that no client can hold up: one request to a connection, bounded in time, size
/// and number; nothing but GET and HEAD; nothing for those who ask under a foreign name.
class HttpDoor : public httplib::Server {
  public:
    explicit HttpDoor(HostCheck hosts);

    /// Begins to listen; the port that it has now, or 0.
    int open(const ListenAddress& address);

    struct Refused {
        std::atomic<std::uint64_t> busy{0};    ///< all places were taken
        std::atomic<std::uint64_t> host{0};    ///< a foreign name or origin
        std::atomic<std::uint64_t> stream{0};  ///< as many pages as may follow already do
    };
    Refused refused;

  private:
    bool process_and_close_socket(socket_t fd) override;
    HandlerResponse admit(const httplib::Request& request, httplib::Response& response);
    bool isForeign(const httplib::Request& request) const;

    HostCheck hosts_;
};

}  // namespace korahamonctl
