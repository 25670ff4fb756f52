// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/peer/state_message.cpp
// parser: hasupport/peer/peer_requests.cpp without verdictText
#include <json/value.h>

#include <algorithm>
#include <string>

#include "fuzz/fuzz_input.h"
#include "hasupport/peer/frame.h"
#include "hasupport/peer/peer_requests.h"
#include "hasupport/peer/state_message.h"
#include "hasupport/status.h"

using namespace KORA::HA::Daemon;
using namespace KORA::HA::Daemon::support;
using koraha::fuzz::require;

namespace {

bool isPrintable(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

void readState(std::string_view text) {
    std::string problem;
    const auto state = decodeState(text, problem);
    if (!state) {
        require(!problem.empty());
        return;
    }
    require(state->disks.size() <= diskCountLimit);
    for (const std::string& disk : state->disks) {
        require(!disk.empty() && disk.size() <= diskNameLimit && isPrintable(disk));
    }
    require(isPrintable(state->mdResyncUnknown) && isPrintable(state->bootId));
    const auto again = decodeState(encodeState(*state), problem);
    require(again && again->disks == state->disks && again->mdResync == state->mdResync &&
            again->diskErrHandlingUnknown == state->diskErrHandlingUnknown &&
            again->wallSeconds == state->wallSeconds);
}

/// A message proves itself in its own exchange and direction, whole, and nowhere else.
void seal(std::string_view text) {
    static const PeerKey key = makePeerKey("0123456789abcdef0123456789abcdef");
    static const Session session{freshNonce(), freshNonce(), &key};
    static const Session other{freshNonce(), session.serverNonce, &key};
    std::string body = sealBody(session, FrameType::request, text);
    require(openBody(session, FrameType::request, body) == text);
    require(!openBody(session, FrameType::reply, body));
    require(!openBody(other, FrameType::request, body));
    require(!openBody(session, FrameType::request, body.substr(0, body.size() - 1)));
    body.at(text.size() % body.size()) ^= 1;
    require(!openBody(session, FrameType::request, body));
}

}  // namespace

// What a peer that holds the key can send, as a client and as a server. Restarts are not asked for
// with authority here: they would be obeyed.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Status status;
    const auto text = koraha::fuzz::textOf(data, size);
    readState(text);
    seal(text);
    Json::Value disks(Json::arrayValue);
    disks.append(std::string(text.substr(0, 100)));
    disks.append(7);
    status.setErrHandlingDisk(disks);
    const std::string answer = answerPeer(text, false, status);
    require(answer.front() == '{' && answer.find("\"accepted\":true") == std::string::npos);
    return 0;
}
