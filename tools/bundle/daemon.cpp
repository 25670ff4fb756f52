// SPDX-License-Identifier: Apache-2.0
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "hasupport/io/read_file.h"
#include "hasupport/kernel/list_directory.h"
#include "tools/bundle/contents.h"
#include "tools/daemon_client.h"
#include "tools/log_source.h"
#include "tools/status_query.h"

namespace korahamonctl::bundle {
namespace {

using KORA::HA::Daemon::support::listDirectory;
using KORA::HA::Daemon::support::readFile;

constexpr std::size_t logLimit = std::size_t{8} << 20U;
constexpr int answerTimeoutMs = 10'000;

std::string failure() {
    return std::string("cannot be read: ") + std::strerror(errno) + "\n";
}

// The end of a log with what was rotated away, up to the limit.
std::string endOfLog(const std::string& path) {
    LogSource source(path);
    std::string text;
    source.readAll([&](std::string_view bytes) {
        text += bytes;
        if (text.size() > 2 * logLimit) {
            text.erase(0, text.size() - logLimit);
        }
    });
    if (text.size() > logLimit) {
        text.erase(0, text.size() - logLimit);
    }
    return source.error() == 0 || !text.empty() ? text : std::strerror(source.error());
}

std::string history(const std::string& socket) {
    std::string problem;
    DaemonClient client(socket, problem);
    if (problem.empty() && client.send(R"({"request":"history"})")) {
        if (const auto line = client.receive(answerTimeoutMs)) {
            return *line + "\n";
        }
        problem = "no complete reply";
    }
    return "no answer: " + problem + "\n";
}

// Mode, owner, size, time and name, as a person would list it.
std::string entryLine(const std::string& path, const std::string& name) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) {
        return name + ": " + failure();
    }
    std::tm utc{};
    ::gmtime_r(&info.st_mtim.tv_sec, &utc);
    std::array<char, 32> time{};
    std::strftime(time.data(), time.size(), "%Y-%m-%dT%H:%M:%SZ", &utc);
    std::array<char, 96> facts{};
    std::snprintf(facts.data(), facts.size(), "%07o %5u %5u %12lld %s ", info.st_mode, info.st_uid,
                  info.st_gid, static_cast<long long>(info.st_size), time.data());
    return facts.data() + name + "\n";
}

std::string listing(const std::string& root) {
    std::string text;
    for (const std::string directory : {"/tmp/ha", "/var/lib/ha", "/var/log/ha", "/run/koraha"}) {
        text += entryLine(root + directory, directory);
        const auto names = listDirectory(root + directory);
        for (const std::string& name : names.value_or(std::vector<std::string>())) {
            std::string path = directory;
            path.append("/").append(name);
            text += entryLine(root + path, path);
        }
    }
    return text;
}

}  // namespace

void takeDaemon(const StatusOptions& options, const std::string& root, const Taker& take) {
    const StatusAnswer answer = askStatus(options.socketPath);
    take("status.json", answer.line.empty() ? "no answer: " + answer.problem : answer.line + "\n");
    take("history.json", history(options.socketPath));
    for (const char* log : {"ha.daemon.log", "ha.daemon.record"}) {
        take(std::string("log/") + log, endOfLog(root + "/var/log/ha/" + log));
    }
    take("config/remote_mond.conf", readFile(options.configuration).value_or(failure()));
    const auto settings = readFile(root + "/var/lib/ha/hasupport.conf");
    take("config/hasupport.conf", settings ? withoutSecrets(*settings) : failure());
    take("directories.txt", listing(root));
}

}  // namespace korahamonctl::bundle
