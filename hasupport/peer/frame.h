// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hasupport/peer/peer_key.h"

// What travels between the two nodes. One exchange is four frames over one connection:
//
//   client  hello      a nonce and the ids of the keys that it holds
//   server  challenge  a nonce of its own and the id of the key that both hold, or none
//   client  request    the authenticator (with a key) and the request
//   server  reply      the authenticator (with a key) and the reply
//
// A server that will not go on sends `refusal` with a short reason and closes.
namespace KORA::HA::Daemon::support {

inline constexpr std::uint8_t frameVersion = 1;
inline constexpr std::size_t frameHeaderBytes = 8;
inline constexpr std::size_t frameBodyLimit = std::size_t{64} << 10U;
inline constexpr std::size_t nonceBytes = 32;
inline constexpr std::size_t authenticatorBytes = 32;

enum class FrameType : std::uint8_t { hello = 1, challenge, request, reply, refusal };

struct Frame {
    FrameType type = FrameType::hello;
    std::string body;
};

/// A frame as bytes: "KH", version, type, the body's length (32 bits, big-endian), the body.
std::string encodeFrame(FrameType type, std::string_view body);

/// The outcome of looking for a frame at the front of what was received.
struct FrameScan {
    enum class State : std::uint8_t { incomplete, complete, broken } state = State::incomplete;
    Frame frame;
    std::string problem;
};

/// Looks at all bytes received so far. Anything behind the frame, an unknown version or type, and
/// a body over the limit are broken.
FrameScan scanFrame(std::string_view received);

using Nonce = std::array<std::uint8_t, nonceBytes>;
Nonce freshNonce();

/// The hello and the challenge, decoded; nothing when malformed.
struct Hello {
    Nonce nonce{};
    std::vector<KeyId> keys;  ///< at most two
};
std::string encodeHello(const Hello& hello);
std::optional<Hello> decodeHello(std::string_view body);

struct Challenge {
    Nonce nonce{};
    std::optional<KeyId> key;
};
std::string encodeChallenge(const Challenge& challenge);
std::optional<Challenge> decodeChallenge(std::string_view body);

/// What both sides know of one exchange, and prove with every message.
struct Session {
    Nonce clientNonce{};
    Nonce serverNonce{};
    const PeerKey* key = nullptr;  ///< null: an exchange without authentication
};

/// A request's or reply's body: the authenticator over direction, version, nonces and payload where
/// the session has a key, then the payload.
std::string sealBody(const Session& session, FrameType type, std::string_view payload);

/// The payload of a body that proves itself; nothing for one that does not. In constant time.
std::optional<std::string> openBody(const Session& session, FrameType type, std::string_view body);

}  // namespace KORA::HA::Daemon::support
