// SPDX-License-Identifier: Apache-2.0
// Records the processes so often into a log below DIRECTORY, writes each record to disk, and tells
// what processor time one took, in nanoseconds.
//
//   record_processes DIRECTORY TIMES
#include <sys/resource.h>

#include "bench/programs/measured.h"
#include "hasupport/daemon_log.h"
#include "hasupport/records.h"

namespace {

long usedMicros() {
    rusage used{};
    ::getrusage(RUSAGE_SELF, &used);
    const auto micros = [](const timeval& time) { return time.tv_sec * 1'000'000L + time.tv_usec; };
    return micros(used.ru_utime) + micros(used.ru_stime);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "Usage: record_processes DIRECTORY TIMES\n");
        return 2;
    }
    KORA::HA::Daemon::DaemonLog log(argv[1], "/ha.daemon.record");
    const int times = bench::number(argv[2]);
    const long before = usedMicros();
    for (int i = 0; i < times; ++i) {
        KORA::HA::Daemon::recordPS();
        bench::need(log.writeLogToDisk(), argv[1]);
    }
    std::printf("{\"cpu\":%ld,\"bytes\":%lld}\n", (usedMicros() - before) * 1000 / times,
                static_cast<long long>(log.size()));
    return 0;
}
