// SPDX-License-Identifier: Apache-2.0
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "hasupport/daemon_log.h"
#include "hasupport/exec.h"
#include "hasupport/peer/peer_key.h"
#include "hasupport/peer/restart_stamp.h"
#include "hasupport/records.h"
#include "hasupport/settings/support_settings.h"
#include "tests/faults/operation.h"

namespace koraha::faults {
namespace {

using namespace KORA::HA::Daemon;
using namespace KORA::HA::Daemon::support;

constexpr const char* logDirectory = "/var/log/ha-faults";
constexpr const char* stampPath = "/var/lib/ha/faults.stamp";
constexpr int execOptions = 187;

DaemonLog& log() {
    static auto* const theLog = new DaemonLog(logDirectory, "/faults.log");
    return *theLog;
}

DaemonLog& records() {
    static auto* const theLog = new DaemonLog(logDirectory, "/faults.record");
    return *theLog;
}

void clearLogs() {
    std::filesystem::remove_all(logDirectory);
    std::filesystem::create_directories("/run/koraha");
    log();
    records();
}

Outcome keepLog() {
    log().set("first");
    log().set("second");
    bool good = log().writeLogToDisk();
    log().set("third");
    good = log().rotate() && good;
    log().set("fourth");
    good = log().writeLogToDisk() && good;
    good = log().size() > 0 && good;
    return {"", !good};
}

struct Messages {
    std::string text;          ///< of all the log's files, oldest first
    bool tellsOfLoss = false;  ///< the log says that lines are missing
};

Messages messages() {
    Messages found;
    for (const char* const name : {"faults.log.3", "faults.log.2", "faults.log.1", "faults.log"}) {
        std::ifstream file(std::string(logDirectory) + "/" + name);
        for (std::string line; std::getline(file, line);) {
            if (line.find(" lines were lost") != std::string::npos) {
                found.tellsOfLoss = true;
            } else {
                found.text += line.substr(line.rfind(' ') + 1) + " ";
            }
        }
    }
    return found;
}

// Whatever failed before: the next flush has everything on disk, once and in order.
Outcome requireWholeLog(Outcome outcome) {
    const bool flushed = log().writeLogToDisk();
    const Messages found = messages();
    outcome.value = found.text;
    if (!flushed || found.text != "first second third fourth ") {
        return {"the log holds: " + found.text, found.tellsOfLoss};
    }
    outcome.stated = outcome.stated || found.tellsOfLoss;
    return outcome;
}

Outcome recordAll() {
    Status status;
    records();
    const bool good = recordMemoryInfo() && recordPS() && recordDF() && recordStatus(status) &&
                      records().writeLogToDisk();
    return {good ? "recorded" : "not recorded", !good};
}

Outcome runProgram() {
    errno = 0;
    const int result =
        VLIBCExecl("/bin/sh", execOptions, "-c", "exit 7", static_cast<const char*>(nullptr));
    return {std::to_string(result), result == -1 && errno != 0};
}

// A child that nobody waits for would be there for ever.
Outcome requireNoChild(Outcome outcome) {
    VLIBCExecl("/bin/true", execOptions,
               static_cast<const char*>(nullptr));  // collects what is left
    for (int tries = 0; tries < 100 && ::wait4(-1, nullptr, WNOHANG, nullptr) == 0; ++tries) {
        ::usleep(20'000);
        if (tries == 99) {
            outcome = {"a program still runs", false};
        }
    }
    return outcome;
}

Outcome readSettings() {
    const bool asWritten = !supportSettings().orderlyCommand.empty();
    return {asWritten ? "as written" : "defaults", !asWritten};  // which the system log is told
}

Outcome readKeys() {
    const PeerKeys keys = readPeerKeys("/var/lib/ha/peer.key");
    return {std::to_string(keys.keys.size()) + " keys", !keys.usable()};
}

Outcome keepStamp() {
    const bool written = writeStamp(stampPath, RestartStamp::now("a test", "new"));
    const StampFile file = readStamp(stampPath);
    return {file.stamp ? file.stamp->outcome : "none", !written || file.unreadable};
}

void makeOldStamp() {
    std::ofstream(stampPath) << stampText(RestartStamp::now("before", "old"));
    ::chmod(stampPath, 0600);
}

// After a failed attempt the old stamp or the new one stands there as a whole.
Outcome requireAnyStamp(Outcome outcome) {
    return readStamp(stampPath).stamp ? outcome : Outcome{"no stamp is left", false};
}

}  // namespace

std::vector<Operation> fileOperations() {
    return {
        {"log", keepLog, clearLogs, requireWholeLog, true},
        {"records", recordAll, clearLogs, nullptr, true, 0, true},
        {"VLIBCExecl", runProgram, nullptr, requireNoChild},
        {"settings", readSettings},
        {"peer key", readKeys},
        {"restart stamp", keepStamp, makeOldStamp, requireAnyStamp, true},
    };
}

}  // namespace koraha::faults
