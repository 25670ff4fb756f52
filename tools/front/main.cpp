// SPDX-License-Identifier: Apache-2.0
// The program that people and monitoring systems start. What the latter ask every few seconds it
// answers by itself, for which it is small, linked statically and without streams; for all else it
// becomes korahamon-tool.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <string_view>

#include "tools/companion.h"
#include "tools/exit_codes.h"
#include "tools/front/answer.h"
#include "tools/standard_descriptors.h"

namespace korahamonctl::front {
namespace {

bool writeAll(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(fd, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return true;
}

// Whoever reads an exit code relies on having read everything.
int tell(const Told& told, int unwritten) {
    writeAll(STDERR_FILENO, told.err);
    if (writeAll(STDOUT_FILENO, told.out)) {
        return told.code;
    }
    writeAll(STDERR_FILENO, unwrittenText);
    return told.code == exitFine ? unwritten : told.code;
}

std::optional<Told> answerIfPlain(int argc, char** argv) {
    try {
        const auto request = plainRequest(argc, argv);
        return request ? answer(*request) : std::nullopt;
    } catch (const std::exception&) {  // korahamon-tool tells what it is
        return std::nullopt;
    }
}

}  // namespace
}  // namespace korahamonctl::front

int main(int argc, char** argv) {
    using namespace korahamonctl;  // NOLINT(google-build-using-namespace): this is the tool
    fillStandardDescriptors();
    const bool monitors = std::any_of(
        argv, argv + argc, [](const char* word) { return std::string_view(word) == "check"; });
    const int unable = monitors ? pluginUnknown : exitConcern;
    if (const auto told = front::answerIfPlain(argc, argv)) {
        return front::tell(*told, unable);
    }
    front::writeAll(STDERR_FILENO, becomeCompanion("korahamon-tool", argv));
    return unable;
}
