// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/http_door.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "tools/exporter/bounded_stream.h"
#include "tools/exporter/workers.h"

namespace korahamonctl {
namespace {

constexpr std::size_t placesInAll = 64;
constexpr int waitingLimit = 64;
constexpr int badRequest = 400;
constexpr int misdirected = 421;
constexpr int wrongMethod = 405;

constexpr std::string_view busyReply =
    "HTTP/1.1 503 Service Unavailable\r\nContent-Length: 0\r\nRetry-After: 5\r\n"
    "Connection: close\r\n\r\n";

void refuse(int fd) {
    std::array<char, 4096> ignored{};
    ::recv(fd, ignored.data(), ignored.size(), MSG_DONTWAIT);
    ::send(fd, busyReply.data(), busyReply.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    ::shutdown(fd, SHUT_WR);
}

}  // namespace

HttpDoor::HttpDoor(HostCheck hosts) : hosts_(std::move(hosts)) {
    new_task_queue = [] { return new Workers(placesInAll); };
    set_default_headers({{"Cache-Control", "no-store"},
                         {"X-Content-Type-Options", "nosniff"},
                         {"Referrer-Policy", "no-referrer"},
                         {"Cross-Origin-Resource-Policy", "same-origin"}});
    set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
        return admit(request, response);
    });
    set_error_handler([](const httplib::Request&, httplib::Response& response) {
        if (response.body.empty()) {
            response.set_content("error " + std::to_string(response.status) + "\n", "text/plain");
        }
    });
}

int HttpDoor::open(const ListenAddress& address) {
    const int port = address.port == 0                          ? bind_to_any_port(address.host)
                     : bind_to_port(address.host, address.port) ? address.port
                                                                : 0;
    if (port <= 0) {
        return 0;
    }
    ::listen(svr_sock_, waitingLimit);  // the library's own queue is short for a browser
    return port;
}

bool HttpDoor::process_and_close_socket(socket_t fd) {
    if (Workers::isRefusing()) {
        ++refused.busy;
        refuse(fd);
    } else {
        BoundedStream stream(fd);
        bool closed = false;
        process_request(stream, true, closed, nullptr);
        stream.finish();
    }
    ::close(fd);
    return true;
}

bool HttpDoor::isForeign(const httplib::Request& request) const {
    return request.get_header_value_count("Host") != 1 ||
           !hosts_.admitsHost(request.get_header_value("Host"), request.local_addr) ||
           (request.has_header("Origin") &&
            !hosts_.admitsOrigin(request.get_header_value("Origin"), request.local_addr));
}

HttpDoor::HandlerResponse HttpDoor::admit(const httplib::Request& request,
                                          httplib::Response& response) {
    if (isForeign(request)) {
        ++refused.host;
        response.status = misdirected;
        response.set_content("not under this name; see --allow-host\n", "text/plain");
    } else if (request.method != "GET" && request.method != "HEAD") {
        response.status = wrongMethod;
        response.set_header("Allow", "GET, HEAD");
    } else if (request.has_header("Range")) {
        response.status = badRequest;
    } else {
        return HandlerResponse::Unhandled;
    }
    return HandlerResponse::Handled;
}

}  // namespace korahamonctl
