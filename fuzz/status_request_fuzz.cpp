// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/socket/request_lines.cpp
// parser: hasupport/socket/request.cpp
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <string>

#include "fuzz/fuzz_input.h"
#include "hasupport/io/unique_fd.h"
#include "hasupport/socket/request.h"
#include "hasupport/socket/request_lines.h"

using namespace KORA::HA::Daemon::support;
using koraha::fuzz::require;

namespace {

struct Pair {
    Pair() {
        std::array<int, 2> ends{-1, -1};
        require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) ==
                0);
        client.reset(ends[0]);
        server.reset(ends[1]);
    }
    UniqueFd client;
    UniqueFd server;
};

void read(RequestReader& reader, std::string_view line) {
    const Request request = reader.read(line);
    const bool named = line.find("status") != std::string_view::npos ||
                       line.find("watch") != std::string_view::npos ||
                       line.find("history") != std::string_view::npos ||
                       line.find('\\') != std::string_view::npos;
    require(request.kind == RequestKind::invalid || named);
    require((request.kind == RequestKind::invalid) == (*request.problem != '\0'));
}

}  // namespace

// A client's bytes as a stream in pieces: the lines that come out are the lines that went in.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static RequestReader reader;
    if (size == 0) {
        return 0;
    }
    const std::size_t piece = std::size_t{1} + data[0] * std::size_t{16};
    std::string_view unsent = koraha::fuzz::textOf(data + 1, size - 1);
    std::string_view expected = unsent;
    Pair pair;
    RequestLines buffer;
    while (!unsent.empty() && !buffer.isFull()) {
        const ssize_t sent =
            ::send(pair.client.get(), unsent.data(), std::min(piece, unsent.size()), MSG_NOSIGNAL);
        require(sent > 0);
        unsent.remove_prefix(static_cast<std::size_t>(sent));
        while (buffer.receive(pair.server.get()) == RequestLines::Received::some) {
            while (const auto line = buffer.takeLine()) {
                require(line == expected.substr(0, expected.find('\n')));
                expected.remove_prefix(line->size() + 1);
                read(reader, *line);
            }
        }
    }
    if (!buffer.isFull()) {
        pair.client.reset();
        require(buffer.receive(pair.server.get()) == RequestLines::Received::ended);
        require(buffer.isEmpty() == expected.empty() && !buffer.hasLine());
        if (const auto rest = buffer.takeRest()) {
            require(rest == expected);
            read(reader, *rest);
        }
    }
    return 0;
}
