// SPDX-License-Identifier: Apache-2.0
// What korahamonctl becomes for all that it does not answer by itself, with the same arguments.
#include <CLI/CLI.hpp>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "tools/check_command.h"
#include "tools/check_config.h"
#include "tools/command_line.h"
#include "tools/companion.h"
#include "tools/doctor_command.h"
#include "tools/exit_codes.h"
#include "tools/explain_command.h"
#include "tools/exporter/commands.h"
#include "tools/flush_command.h"
#include "tools/log_command.h"
#include "tools/message_table.h"
#include "tools/peer_key_command.h"
#include "tools/status_command.h"
#include "tools/support_bundle_command.h"
#include "tools/tune_command.h"
#include "tools/visible.h"

namespace {

using namespace korahamonctl;  // NOLINT(google-build-using-namespace): this is the tool

constexpr int longestWait = 86'400;
constexpr std::size_t shownByDefault = 50;
constexpr int mostLines = 100'000;

void addStatus(CLI::App& app, StatusOptions& options, int& result) {
    auto* status = app.add_subcommand("status", "Show the health of this node and of its peer");
    status->add_flag("--json", options.json, "One JSON object, as the daemon gave it");
    status
        ->add_option("--wait", options.waitSeconds,
                     "Wait up to so many seconds for all to be well, and show what is then")
        ->check(CLI::Range(0, longestWait));
    status->callback([&] { result = showStatus(options, std::cout, std::cerr); });
    auto* watch = app.add_subcommand("watch", "Show the health now and after every change");
    watch->add_flag("--json", options.json, "One JSON object per line");
    watch->add_flag("--lines", options.lines,
                    "One line per change also on a terminal, instead of the full-screen view");
    watch->callback([&] { result = watchPair(options, std::cout, std::cerr); });
}

CLI::App* addCheck(CLI::App& app, StatusOptions& options, int& result) {
    auto* check = app.add_subcommand("check", "One line and an exit code for a monitoring system");
    check->callback([&] { result = checkHealth(options, std::cout); });
    return check;
}

void addCheckConfig(CLI::App& app, std::string& file, int& result) {
    auto* check =
        app.add_subcommand("check-config", "Tell what the daemon will make of its configuration");
    check->add_option("FILE", file, "The file to check")->capture_default_str();
    check->callback([&] { result = checkConfigFile(file, std::cout, std::cerr); });
}

void addPeerKey(CLI::App& app, PeerKeyOptions& options, int& result) {
    auto* key = app.add_subcommand("peer-key", "The key that both nodes hold");
    key->add_option("--file", options.path, "Where the key lies")->capture_default_str();
    key->require_subcommand(1);
    auto* make = key->add_subcommand("new", "Make a key; never overwrites one");
    auto* next = make->add_flag("--next", options.next, "Make the key to come, beside this one");
    make->add_flag("--commit", options.commit, "Put the key to come in force")->excludes(next);
    make->callback([&] { result = newPeerKey(options, std::cout, std::cerr); });
    auto* show = key->add_subcommand("show-fingerprint", "Show what must be equal on both nodes");
    show->callback([&] { result = showFingerprint(options, std::cout, std::cerr); });
}

void addExplain(CLI::App& app, std::vector<std::string>& words, int& result) {
    auto* explained =
        app.add_subcommand("explain", "Tell what a message means and what to do about it");
    explained->add_option("MESSAGE", words,
                          "A line from a log, the number of a message, or a part of its text; "
                          "without it all messages");
    explained->callback([&] {
        std::string asked;
        for (const std::string& word : words) {
            asked += (asked.empty() ? "" : " ") + word;
        }
        result = explain(asked, std::cout, std::cerr);
    });
}

void addDoctor(CLI::App& app, StatusOptions& options, int& result) {
    auto* doctor = app.add_subcommand(
        "doctor", "Look for everything that keeps this node from working, and tell how to mend it");
    doctor->callback([&] { result = examineNode(options, std::cout); });
}

void addSupportBundle(CLI::App& app, const StatusOptions& status, BundleOptions& options,
                      int& result) {
    auto* bundle = app.add_subcommand(
        "support-bundle", "Pack logs, states and configuration into an archive, without the key");
    bundle->add_option("-o,--output", options.output,
                       "The archive to make (a name of host and time in the working directory)");
    bundle->callback([&] { result = makeSupportBundle(status, options, std::cout, std::cerr); });
}

struct LogWords {
    std::string since;
    bool record = false;
};

std::map<std::string, Topic> topicWords() {
    std::map<std::string, Topic> words;
    for (const Message& message : messageTable()) {
        words.emplace(topicName(message.topic), message.topic);
    }
    return words;
}

// The time that the words of --since stand for.
LogTime sinceFrom(const std::string& words) {
    const auto now = std::chrono::system_clock::now();
    const auto time = timeFrom(words, std::chrono::floor<std::chrono::microseconds>(now));
    if (!time) {
        throw CLI::ValidationError("--since", "is no time: " + visible(words));
    }
    return *time;
}

void runLog(const LogWords& words, LogOptions& options, int& result) {
    if (!words.since.empty()) {
        options.filter.since = sinceFrom(words.since);
    }
    options.path = words.record ? "/var/log/ha/ha.daemon.record" : options.path;
    result = showLog(options, std::cout, std::cerr);
}

void addLog(CLI::App& app, LogOptions& options, LogWords& words, int& result) {
    auto* log = app.add_subcommand("log", "Show the daemon's log with what was rotated away");
    auto* file = log->add_option("--file", options.path, "The log")->capture_default_str();
    log->add_flag("--record", words.record, "The periodic records instead")->excludes(file);
    log->add_flag("-f,--follow", options.follow, "Go on showing what comes");
    auto* lines = log->add_option("-n,--lines", options.last,
                                  "Only so many of the latest; 0 for all (50, or all that --since "
                                  "asks for)")
                      ->check(CLI::Range(0, mostLines));
    auto* since =
        log->add_option("--since", words.since,
                        "From then on: \"2026-11-21 07:00\" (UTC), or 90s, 15m, 2h, 3d ago");
    log->add_option("--topic", options.filter.topics, "Only messages about this; may be repeated")
        ->transform(CLI::CheckedTransformer(topicWords()));
    log->add_option("--grep", options.filter.contains, "Only what contains this text");
    log->callback([&words, &options, &result, lines, since] {
        if (lines->count() == 0 && since->count() == 0) {
            options.last = shownByDefault;
        }
        runLog(words, options, result);
    });
}

void addTrial(CLI::App* tune, const std::string& name, TuneTrial& trial) {
    tune->add_option("--" + name + "-threshold", trial.threshold, "Instead of the configured one")
        ->check([](const std::string& text) {
            const bool finite = std::isfinite(std::strtod(text.c_str(), nullptr));
            return finite ? std::string() : "nothing can be compared with " + visible(text);
        });
    tune->add_option("--" + name + "-tolerance", trial.tolerance, "Instead of the configured one");
    tune->add_option("--" + name + "-rest", trial.rest,
                     "Passes that rest between two judgements, instead of the configured ones");
}

void addTune(CLI::App& app, const StatusOptions& status, TuneOptions& options, std::string& since,
             int& result) {
    auto* tune =
        app.add_subcommand("tune", "Replay the recorded samples against thresholds and tolerances");
    auto* file =
        tune->add_option("--file", options.path,
                         "The records; given, the running daemon is not asked for newer samples")
            ->capture_default_str();
    tune->add_option("--since", since, "Only samples from then on, as for log");
    tune->add_option("--role", options.role,
                     "The role of this node then, which gives the interval between two passes")
        ->check(CLI::IsMember({"any", "active", "passive"}))
        ->capture_default_str();
    addTrial(tune, "latency", options.latency);
    addTrial(tune, "packets", options.packets);
    tune->callback([&, file] {
        options.onlyThatFile = file->count() > 0;
        if (!since.empty()) {
            options.since = sinceFrom(since);
        }
        result = tuneSettings(status, options, std::cout, std::cerr);
    });
}

void addFlush(CLI::App& app, int& result) {
    auto* flush = app.add_subcommand("flush", "Write the log lines that an ended daemon left");
    flush->callback([&] { result = flushLogs({}, std::cout, std::cerr); });
}

void addExporter(CLI::App& app, ExporterOptions& options, char** argv, int& result) {
    const ExporterCommands commands = addExporterCommands(app, options);
    for (CLI::App* command : {commands.metrics, commands.exporter}) {
        command->callback([&result, argv] {
            std::cerr << becomeCompanion("korahamon-exporter", argv);
            result = exitConcern;
        });
    }
}

}  // namespace

int main(int argc, char** argv) try {
    CommandLine line;
    CLI::App& app = line.app;
    StatusOptions& status = line.status;
    PeerKeyOptions key;
    std::vector<std::string> words;
    LogOptions log;
    BundleOptions bundle;
    LogWords logWords;
    TuneOptions tuning;
    std::string tuneSince;
    ExporterOptions exporter;
    addStatus(app, status, line.result);
    line.monitors = addCheck(app, status, line.result);
    addCheckConfig(app, status.configuration, line.result);
    addPeerKey(app, key, line.result);
    addFlush(app, line.result);
    addDoctor(app, status, line.result);
    addSupportBundle(app, status, bundle, line.result);
    addExplain(app, words, line.result);
    addLog(app, log, logWords, line.result);
    addTune(app, status, tuning, tuneSince, line.result);
    addExporter(app, exporter, argv, line.result);
    return runCommandLine(line, argc, argv);
} catch (const std::exception& e) {
    std::cerr << "korahamonctl: " << e.what() << '\n';
    return exitConcern;
}
