// SPDX-License-Identifier: Apache-2.0
// Takes the time of whole processes, from inside the namespaces they run in.
//
//   whole_process exit COUNT COMMAND...      from starting the command to its end
//   whole_process answer PATH COMMAND...     from starting it to the first answer on its socket;
//                                            then it is ended
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string_view>

#include "bench/programs/measured.h"
#include "bench/programs/unix_address.h"

namespace {

using Clock = std::chrono::steady_clock;

pid_t start(char** command) {
    posix_spawn_file_actions_t files;
    ::posix_spawn_file_actions_init(&files);
    ::posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    bench::need(::posix_spawn(&child, command[0], &files, nullptr, command, environ) == 0,
                command[0]);
    ::posix_spawn_file_actions_destroy(&files);
    return child;
}

void untilExit(int count, char** command) {
    bench::Times times(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        const auto began = Clock::now();
        int status = 0;
        bench::need(::waitpid(start(command), &status, 0) > 0, "waitpid");
        times.add(Clock::now() - began);
        // A verdict is fine, a program that cannot be run or ends by a signal is not.
        bench::need(WIFEXITED(status) && WEXITSTATUS(status) < 64, command[0]);
    }
    times.print();
}

bool isAnswered(const bench::UnixAddress& address) {
    constexpr std::string_view request = "{\"request\":\"status\"}\n";
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    char first = 0;
    const bool answered = ::connect(fd, address.get(), bench::UnixAddress::size()) == 0 &&
                          ::send(fd, request.data(), request.size(), MSG_NOSIGNAL) > 0 &&
                          ::recv(fd, &first, 1, 0) > 0;
    ::close(fd);
    return answered;
}

void untilAnswer(const char* path, char** command) {
    const bench::UnixAddress address(path);
    bench::Times times(1);
    const auto began = Clock::now();
    const pid_t child = start(command);
    while (!isAnswered(address)) {
        ::usleep(200);
    }
    times.add(Clock::now() - began);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::unlink(path);
    times.print();
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view mode = argc >= 4 ? argv[1] : "";
    if (mode == "exit") {
        untilExit(bench::number(argv[2]), argv + 3);
    } else if (mode == "answer") {
        untilAnswer(argv[2], argv + 3);
    } else {
        std::fprintf(stderr, "Usage: whole_process exit COUNT|answer PATH COMMAND...\n");
        return 2;
    }
    return 0;
}
