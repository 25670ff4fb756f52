// SPDX-License-Identifier: Apache-2.0
#include "tools/support_bundle_command.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <ostream>
#include <sstream>
#include <string_view>
#include <vector>

#include "hasupport/io/read_file.h"
#include "hasupport/io/unique_fd.h"
#include "tools/bundle/contents.h"
#include "tools/bundle/tar_writer.h"
#include "tools/doctor_command.h"
#include "tools/exit_codes.h"
#include "tools/status_query.h"
#include "tools/visible.h"

namespace korahamonctl {
namespace {

using KORA::HA::Daemon::support::UniqueFd;

constexpr std::size_t shortestKey = 16;

std::string hostName() {
    std::array<char, 65> text{};
    std::string name = ::gethostname(text.data(), text.size() - 1) == 0 ? text.data() : "";
    std::replace_if(
        name.begin(), name.end(),
        [](unsigned char c) { return std::isalnum(c) == 0 && c != '-' && c != '.'; }, '_');
    return name.empty() ? "node" : name;
}

std::string timeText(std::time_t now) {
    std::tm utc{};
    ::gmtime_r(&now, &utc);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y%m%dT%H%M%SZ", &utc);
    return text.data();
}

int daemonPid(const std::string& socket) {
    const StatusAnswer answer = askStatus(socket);
    return answer.status && (*answer.status)["pid"].isInt() ? (*answer.status)["pid"].asInt() : 0;
}

// The contents of the key files, also of those that the daemon refuses.
std::vector<std::string> keysOf(const std::string& root) {
    std::vector<std::string> keys;
    for (const char* path : {"/var/lib/ha/peer.key", "/var/lib/ha/peer.key.next"}) {
        const auto text = KORA::HA::Daemon::support::readFile(root + path);
        if (text && text->size() >= shortestKey) {
            keys.push_back(*text);
        }
    }
    return keys;
}

// No file is asked for that should hold a key; this is for one that somebody has put in the place
// of another.
bool holdsOne(std::string_view text, const std::vector<std::string>& keys) {
    return std::any_of(keys.begin(), keys.end(), [&](const std::string& key) {
        return text.find(key) != std::string_view::npos;
    });
}

int fill(int fd, const std::string& name, std::time_t now, const StatusOptions& status,
         const BundleOptions& options) {
    TarWriter tar(fd, now);
    const auto keys = keysOf(options.root);
    const auto take = [&](const std::string& file, std::string_view text) {
        tar.add(name + "/" + file, holdsOne(text, keys) ? "left out: it holds the key\n" : text);
    };
    take("about.txt", "made by korahamonctl " KORAHA_VERSION " at " + timeText(now) + " on " +
                          hostName() + "\n");
    std::ostringstream findings;
    examineNode(status, findings, options.root);
    take("doctor.txt", findings.str());
    bundle::takeDaemon(status, options.root, take);
    bundle::takeKernel(options.root, daemonPid(status.socketPath), take);
    const int error = tar.finish();
    return error != 0 || ::fsync(fd) == 0 ? error : errno;
}

}  // namespace

int makeSupportBundle(const StatusOptions& status, const BundleOptions& options, std::ostream& out,
                      std::ostream& err) {
    const std::time_t now = std::time(nullptr);
    const std::string name = "koraha-support-" + timeText(now);
    const std::string path = options.output.empty()
                                 ? "koraha-support-" + hostName() + "-" + timeText(now) + ".tar"
                                 : options.output;
    const UniqueFd fd(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW,
                             S_IRUSR | S_IWUSR));
    if (!fd) {
        err << "korahamonctl: " << visible(path) << ": " << std::strerror(errno) << '\n';
        return exitConcern;
    }
    const int error = fill(fd.get(), name, now, status, options);
    if (error != 0) {
        err << "korahamonctl: " << visible(path) << ": " << std::strerror(error) << '\n';
        ::unlink(path.c_str());
        return exitConcern;
    }
    out << visible(path)
        << ": made, without the key. Its logs and states name addresses, disks and "
        << "programs: look through it before you give it away.\n";
    return exitFine;
}

}  // namespace korahamonctl
