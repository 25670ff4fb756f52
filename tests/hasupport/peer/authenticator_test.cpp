// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>

#include "hasupport/peer/frame.h"

// What a sealed message proves: who wrote it, in which exchange, in which direction.

namespace KORA::HA::Daemon::support {
namespace {

class Authenticator : public testing::Test {
  protected:
    Session session(const PeerKey& key) const { return {client_, server_, &key}; }

    const PeerKey key_ = makePeerKey(std::string(peerKeyBytes, 'k'));
    const PeerKey other_ = makePeerKey(std::string(peerKeyBytes, 'o'));
    const Nonce client_ = freshNonce();
    const Nonce server_ = freshNonce();
    const Session session_ = session(key_);
    const std::string sealed_ = sealBody(session_, FrameType::request, R"({"request":"state"})");
};

TEST_F(Authenticator, OpensWhatItSealed) {
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{60'000}}) {
        const std::string payload(size, '\0');
        const std::string body = sealBody(session_, FrameType::reply, payload);
        EXPECT_EQ(body.size(), authenticatorBytes + size);
        EXPECT_EQ(openBody(session_, FrameType::reply, body), payload);
    }
}

TEST_F(Authenticator, RefusesEveryTruncationAndExtension) {
    for (std::size_t length = 0; length < sealed_.size(); ++length) {
        EXPECT_FALSE(openBody(session_, FrameType::request, sealed_.substr(0, length))) << length;
    }
    EXPECT_FALSE(openBody(session_, FrameType::request, sealed_ + std::string(1, '\0')));
    EXPECT_FALSE(openBody(session_, FrameType::request, sealed_ + sealed_));
}

TEST_F(Authenticator, RefusesEveryFlippedBit) {
    for (std::size_t at = 0; at < sealed_.size(); ++at) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            std::string altered = sealed_;
            altered[at] = static_cast<char>(static_cast<unsigned char>(altered[at]) ^ 1U << bit);
            EXPECT_FALSE(openBody(session_, FrameType::request, altered)) << at << "." << bit;
        }
    }
}

TEST_F(Authenticator, RefusesAnotherKey) {
    EXPECT_FALSE(openBody(session(other_), FrameType::request, sealed_));
}

TEST_F(Authenticator, RefusesAMessageOfAnotherExchange) {
    for (std::size_t at = 0; at < nonceBytes; ++at) {
        Session later = session_;
        later.serverNonce.at(at) ^= 1U;
        EXPECT_FALSE(openBody(later, FrameType::request, sealed_));
        later = session_;
        later.clientNonce.at(at) ^= 1U;
        EXPECT_FALSE(openBody(later, FrameType::request, sealed_));
    }
    const Session swapped{server_, client_, &key_};
    EXPECT_FALSE(openBody(swapped, FrameType::request, sealed_));
}

TEST_F(Authenticator, RefusesAMessageSentBackAsItsAnswer) {
    EXPECT_FALSE(openBody(session_, FrameType::reply, sealed_));
    const std::string reply = sealBody(session_, FrameType::reply, "x");
    EXPECT_FALSE(openBody(session_, FrameType::request, reply));
}

TEST_F(Authenticator, ProvesNothingWithoutAKey) {
    const Session open{client_, server_, nullptr};
    EXPECT_EQ(sealBody(open, FrameType::request, "x"), "x");
    EXPECT_EQ(openBody(open, FrameType::request, "x"), "x");
    EXPECT_FALSE(openBody(session_, FrameType::request, "x"));
    EXPECT_FALSE(openBody(session_, FrameType::request, ""));
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
