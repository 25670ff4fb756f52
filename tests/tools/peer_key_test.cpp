// SPDX-License-Identifier: Apache-2.0
#include "tools/peer_key_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>

#include "tests/support/scratch_dir.h"

namespace {

using koraha::test::ScratchDir;
using korahamonctl::newPeerKey;
using korahamonctl::PeerKeyOptions;
using korahamonctl::showFingerprint;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

struct PeerKey : ::testing::Test {
    ScratchDir scratch;
    PeerKeyOptions options{.path = scratch.path("peer.key")};
    std::ostringstream out;
    std::ostringstream err;

    int make() { return newPeerKey(options, out, err); }
    int makeNext() {
        return newPeerKey({.path = options.path, .next = true, .commit = false}, out, err);
    }
    int commit() {
        return newPeerKey({.path = options.path, .next = false, .commit = true}, out, err);
    }
    std::string fingerprint() {
        std::ostringstream shown;
        EXPECT_EQ(showFingerprint(options, shown, err), 0) << err.str();
        return shown.str();
    }
};

TEST_F(PeerKey, IsMadeForRootAlone) {
    const mode_t before = ::umask(0);
    ASSERT_EQ(make(), 0);
    ::umask(before);
    struct stat info {};
    ASSERT_EQ(::lstat(options.path.c_str(), &info), 0);
    EXPECT_TRUE(S_ISREG(info.st_mode));
    EXPECT_EQ(info.st_mode & 07777U, 0600U);
    EXPECT_EQ(info.st_size, 32);
    EXPECT_EQ(info.st_uid, 0U);
}

TEST_F(PeerKey, IsAnotherOneEachTime) {
    ASSERT_EQ(make(), 0);
    const std::string one = scratch.read("peer.key");
    ASSERT_EQ(::unlink(options.path.c_str()), 0);
    ASSERT_EQ(make(), 0);
    EXPECT_NE(scratch.read("peer.key"), one);
}

TEST_F(PeerKey, IsNeverOverwritten) {
    scratch.write("peer.key", "what stood there");
    EXPECT_EQ(make(), 1);
    EXPECT_THAT(err.str(), HasSubstr("File exists"));
    EXPECT_EQ(scratch.read("peer.key"), "what stood there");
    scratch.write("peer.key.next", "to come");
    EXPECT_EQ(makeNext(), 1);
    EXPECT_EQ(scratch.read("peer.key.next"), "to come");
}

TEST_F(PeerKey, IsNotWrittenThroughALink) {
    ASSERT_EQ(::symlink(scratch.path("elsewhere").c_str(), options.path.c_str()), 0);
    EXPECT_EQ(make(), 1);
    EXPECT_NE(::access(scratch.path("elsewhere").c_str(), F_OK), 0);
}

TEST_F(PeerKey, NeedsItsDirectory) {
    options.path = scratch.path("absent/peer.key");
    EXPECT_EQ(make(), 1);
    EXPECT_THAT(err.str(), HasSubstr("No such file or directory"));
}

TEST_F(PeerKey, IsRolledOver) {
    ASSERT_EQ(make(), 0);
    const std::string before = fingerprint();
    EXPECT_THAT(before, MatchesRegex("[0-9a-f]{16}\n"));
    ASSERT_EQ(makeNext(), 0);
    const std::string both = fingerprint();
    EXPECT_EQ(both.rfind(before + "to come: ", 0), 0U) << both;
    ASSERT_EQ(commit(), 0);
    EXPECT_EQ("to come: " + fingerprint(), both.substr(before.size()));
    EXPECT_NE(::access(scratch.path("peer.key.next").c_str(), F_OK), 0);
}

TEST_F(PeerKey, IsNotCommittedWhenThereIsNoneOrABadOneToCome) {
    ASSERT_EQ(make(), 0);
    const std::string before = scratch.read("peer.key");
    EXPECT_EQ(commit(), 1);
    EXPECT_THAT(err.str(), HasSubstr("no key to come"));
    scratch.write("peer.key.next", "too short", 0600);
    EXPECT_EQ(commit(), 1);
    EXPECT_THAT(err.str(), HasSubstr("does not hold 32 bytes"));
    scratch.write("peer.key.next", std::string(32, 'k'), 0644);
    EXPECT_EQ(commit(), 1);
    EXPECT_EQ(scratch.read("peer.key"), before);
}

TEST_F(PeerKey, HasNoFingerprintWhenItIsMissingOrRefused) {
    EXPECT_EQ(showFingerprint(options, out, err), 1);
    EXPECT_THAT(err.str(), HasSubstr("there is no key"));
    scratch.write("peer.key", std::string(32, 'k'), 0640);
    EXPECT_EQ(showFingerprint(options, out, err), 1);
    EXPECT_THAT(err.str(), HasSubstr("has a mode that lets others at it"));
    EXPECT_EQ(out.str(), "");
}

TEST_F(PeerKey, NeverShowsTheKeyItself) {
    const std::string secret = "0123456789abcdef0123456789abcdef";
    scratch.write("peer.key", secret, 0600);
    const std::string shown = fingerprint();
    EXPECT_THAT(shown, ::testing::Not(HasSubstr("30313233")));
    EXPECT_THAT(shown, ::testing::Not(HasSubstr("01234567")));
    EXPECT_EQ(shown, fingerprint());
}

}  // namespace
