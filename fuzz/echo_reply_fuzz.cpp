// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/net/echo_packet.cpp
#include <sys/socket.h>

#include <span>

#include "fuzz/fuzz_input.h"
#include "hasupport/net/echo_packet.h"

using namespace KORA::HA::Daemon::support;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto packet = std::as_bytes(std::span(data, size));
    const auto message = withoutIpHeader(packet);
    koraha::fuzz::require(message.size() + 20 <= size || message.empty());
    koraha::fuzz::require(!decodeReply(message, AF_INET) || message.size() == echoSize);
    for (const int family : {AF_INET, AF_INET6}) {
        if (const auto echo = decodeReply(packet, family)) {
            // A request is no reply, or a node would take its own for an answer.
            koraha::fuzz::require(!decodeReply(encodeRequest(*echo, family), family));
        }
    }
    return 0;
}
