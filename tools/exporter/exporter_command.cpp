// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/exporter_command.h"

#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ostream>
#include <thread>

#include "tools/exit_codes.h"
#include "tools/exporter/exporter.h"
#include "tools/exporter/listen_address.h"
#include "tools/visible.h"

namespace korahamonctl {
namespace {

void serveUntilToldToEnd(Exporter& exporter) {
    sigset_t ends;
    ::sigemptyset(&ends);
    ::sigaddset(&ends, SIGTERM);
    ::sigaddset(&ends, SIGINT);
    ::pthread_sigmask(SIG_BLOCK, &ends, nullptr);  // for all threads to come, too
    std::thread listener([&] {
        int signal = 0;
        ::sigwait(&ends, &signal);
        exporter.stop();
    });
    exporter.serve();
    ::kill(::getpid(), SIGTERM);  // where it ended by itself
    listener.join();
}

}  // namespace

int runExporter(const StatusOptions& status, const ExporterOptions& options, std::ostream& out,
                std::ostream& err) {
    const auto address = listenAddressFrom(options.listen);
    if (!address) {
        err << "korahamonctl: no address and port: " << visible(options.listen) << '\n';
        return exitUsage;
    }
    Exporter exporter(status, options.allowedHosts);
    const int port = exporter.bind(*address);
    if (port <= 0) {
        err << "korahamonctl: cannot serve on " << options.listen << ": " << std::strerror(errno)
            << '\n';
        return exitConcern;
    }
    out << "serving on http://" << inUrl(address->host) << ':' << port << "/" << std::endl;
    serveUntilToldToEnd(exporter);
    return exitFine;
}

}  // namespace korahamonctl
