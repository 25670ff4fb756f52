// SPDX-License-Identifier: Apache-2.0
#include "tools/support_bundle_command.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "hasupport/io/unique_fd.h"
#include "records.h"
#include "run_tool.h"
#include "sound_node.h"
#include "status_server.h"
#include "tools/bundle/contents.h"
#include "tools/bundle/tar_writer.h"

namespace {

using namespace koraha::test;  // NOLINT(google-build-using-namespace)
using KORA::HA::Daemon::support::UniqueFd;
using korahamonctl::TarWriter;
using korahamonctl::bundle::withoutSecrets;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

std::string textOf(const std::filesystem::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

// What the system's own tar makes of an archive: each file by its name.
std::map<std::string, std::string> unpacked(const std::string& archive) {
    const ScratchDir scratch;
    const std::string line = "tar -C '" + scratch.path() + "' -xf '" + archive + "'";
    EXPECT_EQ(std::system(line.c_str()), 0);
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(scratch.path())) {
        if (entry.is_regular_file()) {
            EXPECT_EQ(entry.status().permissions(), std::filesystem::perms(0600));
            files[entry.path().lexically_relative(scratch.path())] = textOf(entry.path());
        }
    }
    return files;
}

TEST(Tar, IsReadByTheSystemsOwn) {
    const ScratchDir scratch;
    const std::string path = scratch.path("archive");
    const std::string block(512, 'b');
    {
        const UniqueFd fd(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        TarWriter tar(fd.get(), 1'000'000'000);
        tar.add("dir/empty", "");
        tar.add("dir/small", "small\n");
        tar.add("block", block);
        tar.add("more", block + "x");
        tar.add(std::string(99, 'n'), "long name");
        tar.add(std::string(100, 'm'), "too long a name");
        EXPECT_EQ(tar.finish(), 0);
    }
    const auto files = unpacked(path);
    EXPECT_EQ(files.size(), 5U);
    EXPECT_EQ(files.at("dir/empty"), "");
    EXPECT_EQ(files.at("dir/small"), "small\n");
    EXPECT_EQ(files.at("block"), block);
    EXPECT_EQ(files.at("more"), block + "x");
    EXPECT_EQ(files.at(std::string(99, 'n')), "long name");
    EXPECT_EQ(textOf(path).size() % 512, 0U);
}

TEST(Tar, SaysThatItCouldNotBeWritten) {
    const UniqueFd full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    TarWriter tar(full.get(), 0);
    tar.add("file", "text");
    EXPECT_EQ(tar.finish(), ENOSPC);
}

TEST(WithoutSecrets, KeepsProgramsAndDropsTheirArguments) {
    const std::string shown = withoutSecrets(
        R"({"port":8910,"drbd":false,"disks":["sda"],"restart":"command",
            "restartCommand":["/sbin/fence","--password","hunter2"],
            "orderlyCommand":["/sbin/reboot"],"note":"hunter2"})");
    EXPECT_THAT(shown, Not(HasSubstr("hunter2")));
    EXPECT_THAT(shown, Not(HasSubstr("--password")));
    for (const char* part : {"/sbin/fence", "/sbin/reboot", "8910", "sda", "(left out)"}) {
        EXPECT_THAT(shown, HasSubstr(part));
    }
}

TEST(WithoutSecrets, DropsWhatItDoesNotUnderstand) {
    for (const std::string text :
         {R"(["hunter2"])", R"({"a":"hunter2")", "hunter2", "", R"({"restartCommand":"hunter2"})",
          R"({"restartCommand":[["hunter2"]]})"}) {
        EXPECT_THAT(withoutSecrets(text), Not(HasSubstr("hunter2"))) << text;
        EXPECT_THAT(withoutSecrets(text), HasSubstr("left out")) << text;
    }
    EXPECT_THAT(withoutSecrets(std::string(50'000, '[')), HasSubstr("left out"));
}

struct SupportBundle : ::testing::Test {
    SoundNode node;
    ScratchDir scratch;
    StatusServer daemon{StatusServer::saying(lineOf(healthyStatus()))};
    const std::string archive = scratch.path("bundle.tar");
    std::ostringstream out;
    std::ostringstream err;

    int make(const std::string& socket) {
        korahamonctl::StatusOptions status;
        status.socketPath = socket;
        status.configuration = node.configuration();
        return korahamonctl::makeSupportBundle(status, {archive, node.root()}, out, err);
    }
    // The files without the directory that all are in.
    std::map<std::string, std::string> files() const {
        std::map<std::string, std::string> named;
        for (const auto& [name, text] : unpacked(archive)) {
            EXPECT_THAT(name, StartsWith("koraha-support-"));
            named[name.substr(name.find('/') + 1)] = text;
        }
        return named;
    }
};

TEST_F(SupportBundle, HoldsLogsStatesAndConfiguration) {
    node.write("/var/log/ha/ha.daemon.log.1", "older\n");
    node.write("/var/log/ha/ha.daemon.log", "newer\n");
    node.write("/var/log/ha/ha.daemon.record", "record\n");
    node.write("/var/lib/ha/remote_mond.conf", "{ broken");
    node.write("/proc/mdstat", "Personalities :\n");
    node.write("/sys/class/net/eth1/statistics/rx_errors", "7\n");
    node.write("/sys/block/md0/md/sync_action", "idle\n");
    node.write("/sys/block/md0/md/dev-sda/state", "in_sync\n");
    node.write("/sys/block/sda/device/iotmo_cnt", "0x3\n");
    node.write("/usr/sbin/drbdsetup", "#!/bin/sh\necho \"exists $1 $2 $3\"\n", 0755);
    ASSERT_EQ(make(daemon.path()), 0) << err.str();
    EXPECT_THAT(out.str(), HasSubstr("made, without the key"));
    const auto held = files();
    EXPECT_EQ(held.at("log/ha.daemon.log"), "older\nnewer\n");
    EXPECT_EQ(held.at("log/ha.daemon.record"), "record\n");
    EXPECT_EQ(held.at("config/remote_mond.conf"), "{ broken");
    EXPECT_THAT(held.at("config/hasupport.conf"), HasSubstr("No such file"));
    EXPECT_EQ(held.at("status.json"), lineOf(healthyStatus()) + "\n");
    EXPECT_EQ(held.at("history.json"), lineOf(healthyStatus()) + "\n");
    EXPECT_EQ(held.at("proc/mdstat"), "Personalities :\n");
    EXPECT_THAT(held.at("proc/4242/status"), HasSubstr("koraharemotemon"));
    EXPECT_EQ(held.at("sys/class/net/eth1/statistics/rx_errors"), "7\n");
    EXPECT_EQ(held.at("sys/block/md0/md/sync_action"), "idle\n");
    EXPECT_EQ(held.at("sys/block/md0/md/dev-sda/state"), "in_sync\n");
    EXPECT_EQ(held.at("sys/block/sda/device/iotmo_cnt"), "0x3\n");
    EXPECT_EQ(held.at("drbdsetup-events2.txt"), "exists events2 --now all\n\n");
    EXPECT_THAT(held.at("doctor.txt"), HasSubstr("BAD   configuration: "));
    EXPECT_THAT(held.at("about.txt"), HasSubstr("korahamonctl " KORAHA_VERSION));
    EXPECT_THAT(held.at("directories.txt"), HasSubstr("0100600"));
    EXPECT_THAT(held.at("directories.txt"), HasSubstr("/var/lib/ha/peer.key\n"));
}

TEST_F(SupportBundle, NeverHoldsAKey) {
    const std::string secret = textOf(node.path("/var/lib/ha/peer.key"));
    ASSERT_EQ(secret.size(), 32U);
    const std::string next(32, 'N');
    node.write("/var/lib/ha/peer.key.next", next, 0644);  // which the daemon would refuse
    // Somebody has put the key where other things belong.
    ASSERT_EQ(::symlink(node.path("/var/lib/ha/peer.key").c_str(), node.configuration().c_str()),
              0);
    node.write("/var/log/ha/ha.daemon.log", "before " + secret + " behind\n");
    node.write("/proc/mdstat", next);
    ASSERT_EQ(make(daemon.path()), 0) << err.str();
    const std::string all = textOf(archive);
    EXPECT_EQ(all.find(secret), std::string::npos);
    EXPECT_EQ(all.find(next), std::string::npos);
    EXPECT_EQ(files().at("config/remote_mond.conf"), "left out: it holds the key\n");
}

TEST_F(SupportBundle, IsForItsOwnerAndNeverWrittenOverAFile) {
    const mode_t before = ::umask(0);
    ASSERT_EQ(make(daemon.path()), 0) << err.str();
    ::umask(before);
    struct stat info {};
    ASSERT_EQ(::stat(archive.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777U, 0600U);
    const std::string first = textOf(archive);
    EXPECT_EQ(make(daemon.path()), 1);
    EXPECT_THAT(err.str(), HasSubstr("File exists"));
    EXPECT_EQ(textOf(archive), first);
}

TEST_F(SupportBundle, IsMadeWithoutADaemonAndOnABareSystem) {
    for (const char* path : {"/var", "/proc", "/sys", "/usr", "/tmp", "/run"}) {
        node.remove(path);
    }
    ASSERT_EQ(make("/nonexistent/socket"), 0) << err.str();
    const auto held = files();
    EXPECT_THAT(held.at("status.json"), StartsWith("no answer: "));
    EXPECT_THAT(held.at("history.json"), StartsWith("no answer: "));
    EXPECT_THAT(held.at("log/ha.daemon.log"), HasSubstr("No such file"));
    EXPECT_THAT(held.at("drbdsetup-events2.txt"), HasSubstr("cannot be run"));
}

TEST_F(SupportBundle, HoldsTheEndOfAHugeLog) {
    const std::string line = "2026-11-21T07:00:00.000000Z koraharemotemond:87 Create flag: x\n";
    std::string much;
    while (much.size() < (std::size_t{9} << 20U)) {
        much += line;
    }
    node.write("/var/log/ha/ha.daemon.log.1", much);
    node.write("/var/log/ha/ha.daemon.log", much + "the last\n");
    ASSERT_EQ(make(daemon.path()), 0) << err.str();
    const std::string held = files().at("log/ha.daemon.log");
    EXPECT_EQ(held.size(), std::size_t{8} << 20U);
    EXPECT_TRUE(held.ends_with("the last\n"));
}

TEST_F(SupportBundle, IsMadeOnTheCommandLine) {
    const ToolRun run = runTool({"support-bundle", "--output", archive, "--socket", daemon.path(),
                                 "--config", node.configuration()});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr(archive + ": made"));
    EXPECT_EQ(files().count("about.txt"), 1U);
    EXPECT_EQ(runTool({"support-bundle", "-o", scratch.path("absent/x")}).code, 1);
    EXPECT_EQ(runTool({"support-bundle", "extra"}).code, 2);
}

}  // namespace
