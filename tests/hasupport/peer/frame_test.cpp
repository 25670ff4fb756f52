// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/frame.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace KORA::HA::Daemon::support {
namespace {

using State = FrameScan::State;

TEST(Frame, HasTheDocumentedBytes) {
    EXPECT_EQ(encodeFrame(FrameType::reply, "ab"), std::string("KH\x01\x04\0\0\0\x02"
                                                               "ab",
                                                               10));
    EXPECT_EQ(encodeFrame(FrameType::hello, std::string(0x10203, 'x')).substr(4, 4),
              std::string("\0\x01\x02\x03", 4));
}

TEST(Frame, ComesBackAsItWentOut) {
    for (const FrameType type : {FrameType::hello, FrameType::challenge, FrameType::request,
                                 FrameType::reply, FrameType::refusal}) {
        for (const std::size_t size : {std::size_t{0}, std::size_t{1}, frameBodyLimit}) {
            const std::string body(size, '\xff');
            const FrameScan scan = scanFrame(encodeFrame(type, body));
            ASSERT_EQ(scan.state, State::complete) << scan.problem;
            EXPECT_EQ(scan.frame.type, type);
            EXPECT_EQ(scan.frame.body, body);
        }
    }
}

TEST(Frame, IsIncompleteAtEveryTruncation) {
    const std::string whole = encodeFrame(FrameType::request, "a body");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_EQ(scanFrame(whole.substr(0, length)).state, State::incomplete) << length;
    }
}

TEST(Frame, IsBrokenWithBytesBehindIt) {
    const FrameScan scan = scanFrame(encodeFrame(FrameType::request, "a") + "b");
    EXPECT_EQ(scan.state, State::broken);
    EXPECT_EQ(scan.problem, "bytes behind the frame");
}

TEST(Frame, IsBrokenWithoutItsMagicFromTheFirstByteOn) {
    for (const char* garbage :
         {"X", "KX", "GET / HTTP/1.1\r\n\r\n", "hk\x01\x01", "\x16\x03\x01"}) {
        const FrameScan scan = scanFrame(garbage);
        EXPECT_EQ(scan.state, State::broken) << garbage;
        EXPECT_EQ(scan.problem, "not a frame");
    }
}

TEST(Frame, OfAnotherVersionIsBrokenBeforeItsBodyArrives) {
    for (int version = 0; version < 256; ++version) {
        std::string header = encodeFrame(FrameType::hello, std::string(8, 'x')).substr(0, 8);
        header[2] = static_cast<char>(version);
        const FrameScan scan = scanFrame(header);
        EXPECT_EQ(scan.state, version == frameVersion ? State::incomplete : State::broken);
        EXPECT_EQ(scan.problem, version == frameVersion ? "" : "unknown frame version");
    }
}

TEST(Frame, OfAnUnknownTypeIsBroken) {
    std::set<int> known;
    for (int type = 0; type < 256; ++type) {
        std::string header = encodeFrame(FrameType::hello, "").substr(0, 8);
        header[3] = static_cast<char>(type);
        if (scanFrame(header).state == State::complete) {
            known.insert(type);
        }
    }
    EXPECT_EQ(known, (std::set<int>{1, 2, 3, 4, 5}));
}

TEST(Frame, LongerThanTheLimitIsBrokenBeforeItsBodyArrives) {
    for (const std::size_t size : {frameBodyLimit + 1, std::size_t{0xffffffff}}) {
        std::string header("KH\x01\x03", 4);
        for (unsigned shift = 32; shift > 0; shift -= 8) {
            header.push_back(static_cast<char>(size >> (shift - 8) & 0xffU));
        }
        const FrameScan scan = scanFrame(header);
        EXPECT_EQ(scan.state, State::broken) << size;
        EXPECT_EQ(scan.problem, "frame too long");
    }
}

TEST(Nonces, AreFresh) {
    std::set<Nonce> seen;
    for (int i = 0; i < 1000; ++i) {
        seen.insert(freshNonce());
    }
    EXPECT_EQ(seen.size(), 1000U);
}

TEST(Hello, ComesBackAsItWentOut) {
    for (std::size_t keys = 0; keys <= 2; ++keys) {
        Hello hello{freshNonce(), {}};
        for (std::size_t key = 0; key < keys; ++key) {
            hello.keys.push_back(makePeerKey(std::string(peerKeyBytes, static_cast<char>(key))).id);
        }
        const auto got = decodeHello(encodeHello(hello));
        ASSERT_TRUE(got);
        EXPECT_EQ(got->nonce, hello.nonce);
        EXPECT_EQ(got->keys, hello.keys);
    }
}

TEST(Hello, OfAnyOtherLengthIsMalformed) {
    std::set<std::size_t> good;
    for (std::size_t size = 0; size <= 100; ++size) {
        if (decodeHello(std::string(size, 'x'))) {
            good.insert(size);
        }
    }
    EXPECT_EQ(good, (std::set<std::size_t>{32, 40, 48}));
    EXPECT_FALSE(decodeHello(std::string(frameBodyLimit, 'x')));
}

TEST(Challenge, ComesBackAsItWentOut) {
    Challenge challenge{freshNonce(), {}};
    auto got = decodeChallenge(encodeChallenge(challenge));
    ASSERT_TRUE(got);
    EXPECT_EQ(got->nonce, challenge.nonce);
    EXPECT_FALSE(got->key);

    challenge.key = KeyId{1, 2, 3, 4, 5, 6, 7, 8};
    got = decodeChallenge(encodeChallenge(challenge));
    ASSERT_TRUE(got);
    EXPECT_EQ(got->nonce, challenge.nonce);
    EXPECT_EQ(got->key, challenge.key);
}

TEST(Challenge, OfAnyOtherLengthIsMalformed) {
    std::set<std::size_t> good;
    for (std::size_t size = 0; size <= 100; ++size) {
        if (decodeChallenge(std::string(size, 'x'))) {
            good.insert(size);
        }
    }
    EXPECT_EQ(good, (std::set<std::size_t>{32, 40}));
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
