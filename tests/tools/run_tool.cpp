// SPDX-License-Identifier: Apache-2.0
#include "run_tool.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "tests/support/scratch_dir.h"

namespace koraha::test {
namespace {

ToolRun run(std::vector<std::string> words) {
    const ScratchDir scratch;
    posix_spawn_file_actions_t files{};
    ::posix_spawn_file_actions_init(&files);
    ::posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&files, 1, scratch.path("out").c_str(), O_WRONLY | O_CREAT,
                                       0600);
    ::posix_spawn_file_actions_addopen(&files, 2, scratch.path("err").c_str(), O_WRONLY | O_CREAT,
                                       0600);
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    pid_t child = -1;
    const int error = ::posix_spawn(&child, argv.front(), &files, nullptr, argv.data(), environ);
    ::posix_spawn_file_actions_destroy(&files);
    if (error != 0) {
        return {};
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), scratch.read("out"),
            scratch.read("err")};
}

}  // namespace

ToolRun runTool(const std::vector<std::string>& arguments) {
    std::vector<std::string> words = arguments;
    words.insert(words.begin(), KORAHA_TOOL);
    return run(std::move(words));
}

ToolRun runShell(const std::string& script, const std::string& argument) {
    return run({"/bin/bash", "-c", "TOOL=" KORAHA_TOOL "; " + script, "bash", argument});
}

}  // namespace koraha::test
