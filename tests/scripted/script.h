// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "hasupport/status.h"

/// What the scripted support library answers, and what it was asked. Set by one test at a time.
///
/// Every answer is a function that is called anew for each call; always() and inTurn() make the
/// simple ones. An answer may look at the daemon's state, move the clock or clear the running flag.
struct Script {
    using Status = KORA::HA::Daemon::Status;

    // What happened, in order. Threads append at once: use callsSoFar() while any of them runs.
    std::vector<std::string> calls;        ///< everything, such as "isMDResync" or "sleep 20"
    std::vector<std::string> logLines;     ///< the lines of the daemon log alone
    std::vector<std::string> toolCalls;    ///< path, options and arguments, separated by blanks
    std::map<std::string, int> made;       ///< objects constructed, by class
    std::vector<std::string> madeInOrder;  ///< the same, one after another
    int restarts = 0;
    Status* attached = nullptr;  ///< what setStatus was given last

    // Answers. The logs are "daemonLog" and "recordLog".
    std::function<bool()> remoteAlive;
    std::function<bool(bool stored)> readAliveBack;  ///< what Status::isRemoteAlive makes of it
    std::function<bool()> drbdConnected;
    std::function<bool()> mdResync;
    std::function<bool()> remoteMDResync;
    std::function<bool(Json::Value& disks)> diskErrHandling;
    std::function<bool(Json::Value& disks)> remoteDiskErrHandling;
    std::function<float()> latency;
    std::function<bool(float& rate)> nonOkRate;
    std::function<bool()> constraints;
    std::function<bool(Status&)> rebootRemote;
    std::function<int()> toolResult;
    std::function<bool(Status&)> socketServer;
    std::function<bool()> socketError;
    std::function<bool()> bind;
    std::function<bool()> listen;
    std::function<bool(const std::string& log)> writeLog;
    std::function<bool(const std::string& log)> rotateLog;
    std::function<std::int64_t(const std::string& log)> logSize;
    std::function<bool()> memoryInfo;
    std::function<bool()> processes;
    std::function<bool()> diskUsage;
    std::function<bool(Status&)> recordStatus;
    std::function<void(const std::string& line)> onLogLine;  ///< each line of the daemon log

    Script();

    /// Appends to `calls`. A million of them is a loop that nothing ends: the process is ended.
    void note(const std::string& call);
    void noteLogLine(const std::string& line);
    void noteMade(const std::string& type);
    std::vector<std::string> callsSoFar() const;
    std::vector<std::string> callsOfThisThread() const;

    /// The calls that begin with one of the beginnings, in order.
    std::vector<std::string> callsOf(std::initializer_list<const char*> beginnings) const;
    std::size_t count(const char* beginning) const { return callsOf({beginning}).size(); }

    /// Forgets what happened; the answers stay.
    void forgetCalls();

  private:
    mutable std::mutex mutex_;
    std::map<std::thread::id, std::vector<std::string>> callsOfThreads_;
};

Script& script();

/// The same answer to every call.
template <typename Answer>
auto always(Answer answer) {
    return [answer](const auto&...) { return answer; };
}

/// The answers one after another; the last one again and again.
template <typename Answer>
auto inTurn(std::initializer_list<Answer> answers) {
    return [all = std::vector<Answer>(answers), next = std::size_t{0}](const auto&...) mutable {
        const Answer answer = all.at(next);
        next = next + 1 < all.size() ? next + 1 : next;
        return answer;
    };
}

/// Fills in a list of disks, and answers whether there are any.
std::function<bool(Json::Value& disks)> reports(std::initializer_list<const char*> names);

/// A JSON array of names.
Json::Value jsonList(std::initializer_list<const char*> names);
