// SPDX-License-Identifier: Apache-2.0
// Some tests need a server and files of root: as an ordinary user, a user namespace of its own
// makes this program root over what it makes itself.
#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace {

bool write(const char* path, const std::string& text) {
    std::ofstream file(path);
    file << text << std::flush;
    return file.good();
}

bool becomeRoot() {
    const std::string user = std::to_string(::geteuid());
    const std::string group = std::to_string(::getegid());
    return ::geteuid() == 0 ||
           (::unshare(CLONE_NEWUSER) == 0 && write("/proc/self/setgroups", "deny") &&
            write("/proc/self/uid_map", "0 " + user + " 1") &&
            write("/proc/self/gid_map", "0 " + group + " 1"));
}

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (!becomeRoot()) {
        std::perror("neither root nor a user namespace to be had");
        return 1;
    }
    return RUN_ALL_TESTS();
}
