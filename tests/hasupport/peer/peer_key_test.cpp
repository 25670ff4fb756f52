// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/peer_key.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "tests/support/during_fstat.h"
#include "tests/support/scratch_dir.h"

namespace KORA::HA::Daemon::support {
namespace {

TEST(PeerKey, HasANameThatDoesNotTellIt) {
    const PeerKey one = makePeerKey(std::string(peerKeyBytes, 'a'));
    std::string almost(peerKeyBytes, 'a');
    almost.back() = 'b';
    const PeerKey other = makePeerKey(almost);
    EXPECT_EQ(one.id, makePeerKey(std::string(peerKeyBytes, 'a')).id);
    EXPECT_NE(one.id, other.id);
    EXPECT_EQ(std::string(one.secret.begin(), one.secret.end()), std::string(peerKeyBytes, 'a'));
    const std::string secret(one.secret.begin(), one.secret.end());
    EXPECT_EQ(secret.find(std::string(one.id.begin(), one.id.end())), std::string::npos);
}

TEST(PeerKey, IsFoundByItsWholeName) {
    const PeerKeys keys{
        {makePeerKey(std::string(peerKeyBytes, 'a')), makePeerKey(std::string(peerKeyBytes, 'b'))},
        {}};
    EXPECT_EQ(keys.find(keys.keys[0].id), &keys.keys[0]);
    EXPECT_EQ(keys.find(keys.keys[1].id), &keys.keys[1]);
    for (std::size_t at = 0; at < keyIdBytes; ++at) {
        KeyId forged = keys.keys[0].id;
        forged.at(at) ^= 0x80U;
        EXPECT_EQ(keys.find(forged), nullptr);
    }
    EXPECT_EQ(PeerKeys().find(KeyId{}), nullptr);
}

class PeerKeyFile : public testing::Test {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) {
            GTEST_SKIP() << "only root can make key files";
        }
    }

    std::string path() const { return scratch_.path("peer.key"); }
    void write(const std::string& suffix, char fill, mode_t mode = 0600,
               std::size_t size = peerKeyBytes) const {
        scratch_.write("peer.key" + suffix, std::string(size, fill), mode);
    }
    void expectRefused(const std::string& file, const std::string& why) const {
        const PeerKeys keys = readPeerKeys(path());
        EXPECT_FALSE(keys.usable());
        EXPECT_EQ(keys.problem, file + " " + why);
    }

    koraha::test::ScratchDir scratch_;
};

TEST_F(PeerKeyFile, ThatIsMissingIsNoKeyAndNoMistake) {
    PeerKeys keys = readPeerKeys(path());
    EXPECT_TRUE(keys.usable());
    EXPECT_TRUE(keys.keys.empty());
    keys = readPeerKeys(scratch_.path("no/such/directory/peer.key"));
    EXPECT_TRUE(keys.usable());
    EXPECT_TRUE(keys.keys.empty());
}

TEST_F(PeerKeyFile, IsReadWithTheOneInForceFirst) {
    write("", '\0');
    write(".next", '\xff');
    const PeerKeys keys = readPeerKeys(path());
    ASSERT_TRUE(keys.usable()) << keys.problem;
    ASSERT_EQ(keys.keys.size(), 2U);
    EXPECT_EQ(keys.keys[0].id, makePeerKey(std::string(peerKeyBytes, '\0')).id);
    EXPECT_EQ(keys.keys[1].id, makePeerKey(std::string(peerKeyBytes, '\xff')).id);
}

TEST_F(PeerKeyFile, AloneAsTheNextOneIsAKey) {
    write(".next", 'n');
    const PeerKeys keys = readPeerKeys(path());
    ASSERT_TRUE(keys.usable());
    ASSERT_EQ(keys.keys.size(), 1U);
}

TEST_F(PeerKeyFile, OfAnyModeButItsOwnersIsRefused) {
    for (const mode_t mode : {0640U, 0604U, 0660U, 0644U, 0700U, 0601U, 0610U, 0777U}) {
        write("", 'k', mode);
        expectRefused(path(), "has a mode that lets others at it");
    }
    write("", 'k', 0400);
    EXPECT_TRUE(readPeerKeys(path()).usable()) << "read-only is stricter, not laxer";
}

TEST_F(PeerKeyFile, OfAnotherOwnerIsRefused) {
    write("", 'k');
    ASSERT_EQ(::chown(path().c_str(), 65534, 0), 0);
    expectRefused(path(), "is not owned by root");
}

TEST_F(PeerKeyFile, OfAnotherSizeIsRefused) {
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, peerKeyBytes - 1}) {
        write("", 'k', 0600, size);
        expectRefused(path(), "does not hold 32 bytes");
    }
    for (const std::size_t size : {peerKeyBytes + 1, std::size_t{1'000'000}}) {
        write("", 'k', 0600, size);
        expectRefused(path(), "is too large");
    }
}

TEST_F(PeerKeyFile, ThatIsNoRegularFileOfItsOwnIsRefused) {
    scratch_.write("real", std::string(peerKeyBytes, 'k'), 0600);
    ASSERT_EQ(::symlink(scratch_.path("real").c_str(), path().c_str()), 0);
    expectRefused(path(), "is a link");
    ::unlink(path().c_str());
    ASSERT_EQ(::symlink("nowhere", path().c_str()), 0);
    expectRefused(path(), "is a link");
    ::unlink(path().c_str());
    ASSERT_EQ(::link(scratch_.path("real").c_str(), path().c_str()), 0);
    expectRefused(path(), "has a second name");
    ::unlink(path().c_str());
    ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
    expectRefused(path(), "is not a regular file");
    ::unlink(path().c_str());
    ASSERT_EQ(::mkdir(path().c_str(), 0700), 0);
    expectRefused(path(), "is not a regular file");
}

// Between the opening of a file and the look at it, the one in force is replaced.
TEST_F(PeerKeyFile, IsFoundWhileItIsCommitted) {
    write("", 'k');
    write(".next", 'n');
    koraha::test::duringNextFstat(
        [&] { EXPECT_EQ(std::rename((path() + ".next").c_str(), path().c_str()), 0); });
    const PeerKeys keys = readPeerKeys(path());
    EXPECT_NE(::access((path() + ".next").c_str(), F_OK), 0);
    EXPECT_TRUE(keys.usable()) << keys.problem;
    EXPECT_NE(keys.find(makePeerKey(std::string(peerKeyBytes, 'n')).id), nullptr);
}

TEST_F(PeerKeyFile, ThatIsReplacedWhileItIsReadIsNotRefused) {
    write("", 'k');
    write(".other", 'n');
    koraha::test::duringNextFstat(
        [&] { EXPECT_EQ(std::rename((path() + ".other").c_str(), path().c_str()), 0); });
    const PeerKeys keys = readPeerKeys(path());
    EXPECT_TRUE(keys.usable()) << keys.problem;
    EXPECT_EQ(keys.keys.size(), 1U);
}

TEST_F(PeerKeyFile, RefusedAsTheNextOneIsRefusedAltogether) {
    write("", 'k');
    write(".next", 'n', 0644);
    expectRefused(path() + ".next", "has a mode that lets others at it");
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
