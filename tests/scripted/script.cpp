// SPDX-License-Identifier: Apache-2.0
#include "tests/scripted/script.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

Script& script() {
    static Script& theOne = *new Script;  // threads may still ask while the process ends
    return theOne;
}

Script::Script()
    : remoteAlive(always(false)),
      readAliveBack([](bool stored) { return stored; }),
      drbdConnected(always(false)),
      mdResync(always(false)),
      remoteMDResync(always(false)),
      diskErrHandling(always(false)),
      remoteDiskErrHandling(always(false)),
      latency(always(0.0F)),
      nonOkRate(always(false)),
      constraints(always(false)),
      rebootRemote(always(true)),
      toolResult(always(0)),
      socketServer(always(false)),
      socketError(always(false)),
      bind(always(false)),
      listen(always(true)),
      writeLog(always(true)),
      rotateLog(always(true)),
      logSize(always(std::int64_t{0})),
      memoryInfo(always(true)),
      processes(always(true)),
      diskUsage(always(true)),
      recordStatus(always(true)),
      onLogLine([](const std::string&) {}) {}

void Script::note(const std::string& call) {
    const std::lock_guard lock(mutex_);
    calls.push_back(call);
    callsOfThreads_[std::this_thread::get_id()].push_back(call);
    if (calls.size() > 1'000'000) {
        std::fprintf(stderr, "A loop without an end: the last call was %s\n", call.c_str());
        std::abort();
    }
}

void Script::noteLogLine(const std::string& line) {
    note("daemonLog.set " + line);
    onLogLine(line);
    const std::lock_guard lock(mutex_);
    logLines.push_back(line);
}

void Script::noteMade(const std::string& type) {
    const std::lock_guard lock(mutex_);
    ++made[type];
    madeInOrder.push_back(type);
}

std::vector<std::string> Script::callsSoFar() const {
    const std::lock_guard lock(mutex_);
    return calls;
}

std::vector<std::string> Script::callsOfThisThread() const {
    const std::lock_guard lock(mutex_);
    const auto found = callsOfThreads_.find(std::this_thread::get_id());
    return found == callsOfThreads_.end() ? std::vector<std::string>{} : found->second;
}

std::vector<std::string> Script::callsOf(std::initializer_list<const char*> beginnings) const {
    std::vector<std::string> found;
    for (const std::string& call : callsSoFar()) {
        const auto matches = [&](const char* beginning) { return call.rfind(beginning, 0) == 0; };
        if (std::any_of(beginnings.begin(), beginnings.end(), matches)) {
            found.push_back(call);
        }
    }
    return found;
}

void Script::forgetCalls() {
    const std::lock_guard lock(mutex_);
    calls.clear();
    callsOfThreads_.clear();
    logLines.clear();
    toolCalls.clear();
    made.clear();
    madeInOrder.clear();
    restarts = 0;
}

Json::Value jsonList(std::initializer_list<const char*> names) {
    Json::Value list(Json::arrayValue);
    for (const char* name : names) {
        list.append(name);
    }
    return list;
}

std::function<bool(Json::Value& disks)> reports(std::initializer_list<const char*> names) {
    return [list = jsonList(names)](Json::Value& disks) {
        disks = list;
        return !list.empty();
    };
}
