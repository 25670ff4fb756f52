// SPDX-License-Identifier: Apache-2.0
#include "line_client.h"

#include <json/reader.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <memory>

#include "hasupport/socket/socket_occupant.h"

namespace koraha::test {
namespace {

namespace support = KORA::HA::Daemon::support;

constexpr int patienceMs = 20'000;

bool waitFor(int fd, short events, int timeoutMs) {
    pollfd entry{fd, events, 0};
    return ::poll(&entry, 1, timeoutMs) > 0;
}

}  // namespace

LineClient::LineClient(const std::string& path) {
    const auto address = support::socketAddress(path);
    support::UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (address && fd &&
        ::connect(fd.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof(*address)) == 0) {
        fd_ = std::move(fd);
    }
}

bool LineClient::send(std::string_view bytes) const {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(fd_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

std::optional<std::string> LineClient::line() {
    std::array<char, 4096> chunk{};
    for (;;) {
        if (const auto end = received_.find('\n'); end != std::string::npos) {
            std::string found = received_.substr(0, end);
            received_.erase(0, end + 1);
            return found;
        }
        if (!waitFor(fd_.get(), POLLIN, patienceMs)) {
            return std::nullopt;
        }
        const ssize_t got = ::recv(fd_.get(), chunk.data(), chunk.size(), 0);
        if (got <= 0) {
            return std::nullopt;
        }
        received_.append(chunk.data(), static_cast<std::size_t>(got));
    }
}

Json::Value parseLine(const std::string& line) {
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value document;
    const bool isJson = reader->parse(line.data(), line.data() + line.size(), &document, nullptr);
    return isJson ? document : Json::Value();
}

Json::Value LineClient::json() {
    const auto text = line();
    return text ? parseLine(*text) : Json::Value();
}

Json::Value LineClient::ask(std::string_view request) {
    send("{\"request\":\"" + std::string(request) + "\"}\n");
    return json();
}

bool LineClient::isClosed() {
    for (;;) {
        std::array<char, 4096> chunk{};
        if (!waitFor(fd_.get(), POLLIN, patienceMs)) {
            return false;
        }
        const ssize_t got = ::recv(fd_.get(), chunk.data(), chunk.size(), 0);
        if (got == 0 || (got < 0 && errno == ECONNRESET)) {
            return true;
        }
        if (got < 0) {
            return false;
        }
    }
}

bool LineClient::hears(std::chrono::milliseconds span) const {
    return !received_.empty() || waitFor(fd_.get(), POLLIN, static_cast<int>(span.count()));
}

void LineClient::endSending() const {
    ::shutdown(fd_.get(), SHUT_WR);
}

}  // namespace koraha::test
