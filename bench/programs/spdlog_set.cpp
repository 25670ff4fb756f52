// SPDX-License-Identifier: Apache-2.0
// The same as log_lines, with the asynchronous logger of spdlog, which blocks when its queue is
// full: its own defaults for the queue, one thread that writes.
//
//   spdlog_set DIRECTORY THREADS BURSTS LINES PAUSE_MS
#include <spdlog/async.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include "bench/programs/log_load.h"

int main(int argc, char** argv) {
    if (argc != 6) {
        std::fprintf(stderr, "Usage: spdlog_set DIRECTORY THREADS BURSTS LINES PAUSE_MS\n");
        return 2;
    }
    const auto load = bench::LogLoad::from(argv + 2);
    bench::Times times(load.lines());
    spdlog::init_thread_pool(spdlog::details::default_async_q_size, 1);
    const auto sink =
        std::make_shared<spdlog::sinks::basic_file_sink_mt>(std::string(argv[1]) + "/spdlog.log");
    const auto log = std::make_shared<spdlog::async_logger>("bench", sink, spdlog::thread_pool(),
                                                            spdlog::async_overflow_policy::block);
    log->set_pattern("%Y-%m-%dT%H:%M:%S.%fZ %v", spdlog::pattern_time_type::utc);
    bench::logBursts(
        load, [&log](const std::string& line) { log->info(line); }, times);
    log->flush();
    spdlog::shutdown();
    times.print();
    return 0;
}
