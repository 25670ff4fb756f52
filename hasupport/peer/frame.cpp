// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/frame.h"

#include <sodium.h>

#include <algorithm>

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::string_view magic = "KH";
constexpr std::size_t lengthOffset = 4;
constexpr unsigned bitsPerByte = 8;
constexpr std::string_view authenticatorContext = "koraha peer exchange";

using Authenticator = std::array<std::uint8_t, authenticatorBytes>;

std::uint32_t lengthIn(std::string_view header) {
    std::uint32_t length = 0;
    for (std::size_t i = 0; i < sizeof length; ++i) {
        length = length << bitsPerByte | static_cast<std::uint8_t>(header[lengthOffset + i]);
    }
    return length;
}

std::string headerProblem(std::string_view header) {
    if (!header.starts_with(magic)) {
        return "not a frame";
    }
    if (static_cast<std::uint8_t>(header[2]) != frameVersion) {
        return "unknown frame version";
    }
    const auto type = static_cast<std::uint8_t>(header[3]);
    if (type < static_cast<std::uint8_t>(FrameType::hello) ||
        type > static_cast<std::uint8_t>(FrameType::refusal)) {
        return "unknown frame type";
    }
    return lengthIn(header) > frameBodyLimit ? "frame too long" : "";
}

void update(crypto_generichash_state& state, std::string_view bytes) {
    crypto_generichash_update(&state, reinterpret_cast<const unsigned char*>(bytes.data()),
                              bytes.size());
}

// The type of the frame is the direction and the role of its sender: only clients send requests.
Authenticator authenticator(const Session& session, FrameType type, std::string_view payload) {
    crypto_generichash_state state;
    Authenticator sum{};
    crypto_generichash_init(&state, session.key->secret.data(), session.key->secret.size(),
                            sum.size());
    update(state, authenticatorContext);
    const std::array<std::uint8_t, 2> head{frameVersion, static_cast<std::uint8_t>(type)};
    crypto_generichash_update(&state, head.data(), head.size());
    crypto_generichash_update(&state, session.clientNonce.data(), session.clientNonce.size());
    crypto_generichash_update(&state, session.serverNonce.data(), session.serverNonce.size());
    update(state, payload);
    crypto_generichash_final(&state, sum.data(), sum.size());
    return sum;
}

template <typename Array>
void append(std::string& out, const Array& bytes) {
    out.append(bytes.begin(), bytes.end());
}

template <typename Array>
Array take(std::string_view& from) {
    Array bytes{};
    std::copy_n(from.begin(), bytes.size(), bytes.begin());
    from.remove_prefix(bytes.size());
    return bytes;
}

}  // namespace

std::string encodeFrame(FrameType type, std::string_view body) {
    std::string out(magic);
    out.push_back(static_cast<char>(frameVersion));
    out.push_back(static_cast<char>(type));
    for (int shift = 24; shift >= 0; shift -= 8) {
        out.push_back(static_cast<char>(body.size() >> static_cast<unsigned>(shift) & 0xffU));
    }
    out.append(body);
    return out;
}

FrameScan scanFrame(std::string_view received) {
    FrameScan scan;
    if (received.size() < frameHeaderBytes) {
        const auto known = std::min(received.size(), magic.size());
        if (received.substr(0, known) != magic.substr(0, known)) {
            scan = {FrameScan::State::broken, {}, "not a frame"};
        }
        return scan;
    }
    scan.problem = headerProblem(received);
    const std::size_t whole =
        scan.problem.empty() ? frameHeaderBytes + lengthIn(received) : received.size();
    if (scan.problem.empty() && received.size() > whole) {
        scan.problem = "bytes behind the frame";
    }
    if (!scan.problem.empty()) {
        scan.state = FrameScan::State::broken;
    } else if (received.size() == whole) {
        scan.state = FrameScan::State::complete;
        scan.frame.type = static_cast<FrameType>(received[3]);
        scan.frame.body = received.substr(frameHeaderBytes);
    }
    return scan;
}

Nonce freshNonce() {
    Nonce nonce{};
    randombytes_buf(nonce.data(), nonce.size());
    return nonce;
}

std::string encodeHello(const Hello& hello) {
    std::string body;
    append(body, hello.nonce);
    for (const KeyId& id : hello.keys) {
        append(body, id);
    }
    return body;
}

std::optional<Hello> decodeHello(std::string_view body) {
    if (body.size() < nonceBytes || body.size() > nonceBytes + 2 * keyIdBytes ||
        (body.size() - nonceBytes) % keyIdBytes != 0) {
        return std::nullopt;
    }
    Hello hello;
    hello.nonce = take<Nonce>(body);
    while (!body.empty()) {
        hello.keys.push_back(take<KeyId>(body));
    }
    return hello;
}

std::string encodeChallenge(const Challenge& challenge) {
    std::string body;
    append(body, challenge.nonce);
    if (challenge.key) {
        append(body, *challenge.key);
    }
    return body;
}

std::optional<Challenge> decodeChallenge(std::string_view body) {
    if (body.size() != nonceBytes && body.size() != nonceBytes + keyIdBytes) {
        return std::nullopt;
    }
    Challenge challenge;
    challenge.nonce = take<Nonce>(body);
    if (!body.empty()) {
        challenge.key = take<KeyId>(body);
    }
    return challenge;
}

std::string sealBody(const Session& session, FrameType type, std::string_view payload) {
    std::string body;
    if (session.key != nullptr) {
        append(body, authenticator(session, type, payload));
    }
    return body.append(payload);
}

std::optional<std::string> openBody(const Session& session, FrameType type, std::string_view body) {
    if (session.key == nullptr) {
        return std::string(body);
    }
    if (body.size() < authenticatorBytes) {
        return std::nullopt;
    }
    const std::string_view payload = body.substr(authenticatorBytes);
    const Authenticator expected = authenticator(session, type, payload);
    if (sodium_memcmp(expected.data(), body.data(), expected.size()) != 0) {
        return std::nullopt;
    }
    return std::string(payload);
}

}  // namespace KORA::HA::Daemon::support
