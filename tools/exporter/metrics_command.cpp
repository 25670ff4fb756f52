// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/metrics_command.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ostream>
#include <string_view>

#include "hasupport/io/unique_fd.h"
#include "tools/exit_codes.h"
#include "tools/exporter/metrics.h"
#include "tools/exporter/observer.h"
#include "tools/visible.h"

namespace korahamonctl {
namespace {

using KORA::HA::Daemon::support::UniqueFd;

constexpr mode_t readableByAll = 0644;

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        bytes.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
    return true;
}

// Written beside it and renamed: who collects such files may look at any time.
bool replaceFile(const std::string& path, std::string_view text) {
    std::string beside = path + ".XXXXXX";
    const UniqueFd fd(::mkostemp(beside.data(), O_CLOEXEC));
    if (!fd) {
        return false;
    }
    if (writeAll(fd.get(), text) && ::fchmod(fd.get(), readableByAll) == 0 &&
        ::rename(beside.c_str(), path.c_str()) == 0) {
        return true;
    }
    const int error = errno;
    ::unlink(beside.c_str());
    errno = error;
    return false;
}

}  // namespace

int showMetrics(const StatusOptions& options, const std::string& output, std::ostream& out,
                std::ostream& err) {
    const Observation seen = Observer(options).look();
    MetricFamilies families;
    addMetrics(seen, families);
    if (output.empty()) {
        out << families.text() << std::flush;
    } else if (!replaceFile(output, families.text())) {
        err << "korahamonctl: " << visible(output) << ": " << std::strerror(errno) << '\n';
        return exitConcern;
    }
    if (!seen.status) {
        err << "korahamonctl: the daemon does not answer: " << seen.problem << '\n';
        return exitNoAnswer;
    }
    return out ? exitFine : exitConcern;
}

}  // namespace korahamonctl
