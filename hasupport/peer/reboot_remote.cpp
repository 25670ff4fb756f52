// SPDX-License-Identifier: Apache-2.0
#include "hasupport/reboot_remote.h"

#include <json/reader.h>
#include <json/value.h>
#include <json/writer.h>

#include <algorithm>
#include <exception>
#include <memory>
#include <vector>

#include "hasupport/core/exec_options.h"
#include "hasupport/core/run_program.h"
#include "hasupport/io/deadline.h"
#include "hasupport/io/notice.h"
#include "hasupport/peer/peer_client.h"
#include "hasupport/peer/restart_duty.h"
#include "hasupport/peer/restart_progress.h"
#include "hasupport/peer/restart_stamp.h"
#include "hasupport/settings/support_settings.h"
#include "hasupport/status/history.h"
#include "hasupport/text/json_guard.h"

namespace KORA::HA::Daemon {
namespace support {
namespace {

constexpr std::size_t answerLimit = 4096;
constexpr unsigned depthLimit = 16;
constexpr const char* accepted = "accepted";
constexpr std::size_t reasonLimit = 400;  // a request of the peer's holds 4 KiB

struct Outcome {
    std::string text;
    bool final = false;  ///< no other means may be tried
};

std::string reasonFrom(Status& status) {
    std::string reason = "too many errors on one disk; under error handling:";
    for (const Json::Value& disk : status.getErrHandlingDiskRemote()) {
        if (disk.isString() && reason.size() < reasonLimit) {
            reason += " " + disk.asString();
        }
    }
    reason.resize(std::min(reason.size(), reasonLimit));
    return reason;
}

std::string requestText(const std::string& reason) {
    Json::Value request(Json::objectValue);
    request["request"] = "restart";
    request["reason"] = reason;
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, request);
}

// A peer that is able but refuses does not hang: forcing it might take both nodes down.
Outcome outcomeIn(const std::string& payload) {
    Json::Value answer;
    std::string errors;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (!jsonIsBounded(payload, answerLimit, depthLimit) ||
        !reader->parse(payload.data(), payload.data() + payload.size(), &answer, &errors) ||
        !answer.isObject() || !answer["accepted"].isBool()) {
        return {"the peer's answer is malformed", false};
    }
    if (answer["accepted"].asBool()) {
        return {accepted, true};
    }
    const bool unable = answer["unable"].isBool() && answer["unable"].asBool();
    return {"refused: " + (answer["reason"].isString() ? answer["reason"].asString() : ""),
            !unable};
}

Outcome request(const std::string& reason) {
    const Milliseconds bound(supportSettings().peerTimeoutMs);
    const PeerAnswer answer = askPeer(requestText(reason), true, Deadline::in(bound));
    return answer.payload ? outcomeIn(*answer.payload) : Outcome{answer.problem, false};
}

std::string runCommand() {
    const std::vector<std::string>& words = supportSettings().restartCommand;
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));  // running does not write to them
    }
    arguments.push_back(nullptr);
    RunLimits limits;
    limits.run = Milliseconds(supportSettings().restartCommandMs);
    const int status = runProgram(words.front().c_str(), execAllOptions, arguments.data(), limits);
    return status == 0 ? accepted : "the restart command ended with " + std::to_string(status);
}

std::string carryOut(const std::string& reason) {
    const RestartMethod method = supportSettings().restart;
    if (method == RestartMethod::command) {
        return runCommand();
    }
    const Outcome outcome = request(reason);
    if (outcome.final || method == RestartMethod::request) {
        return outcome.text;
    }
    notify("the peer does not restart at a request (" + outcome.text + "): running the command");
    return runCommand();
}

bool refrain(const std::string& why) {
    notify("the peer is not restarted: " + why);
    noteEvent("the peer is not restarted: " + why);
    return false;
}

bool restartPeer(Status& status) {
    const AskingForRestart asking;
    if (isAboutToRestart()) {
        return refrain("this node itself restarts at the peer's request, or cannot tell");
    }
    const std::string reason = reasonFrom(status);
    RestartStamp stamp = RestartStamp::now(reason, "requested");
    if (!noteRestartAsked(stamp)) {
        return refrain("the stamp of the restart cannot be written");
    }
    stamp.outcome = carryOut(reason);
    noteRestartOutcome(stamp);
    notify("restart of the peer: " + stamp.outcome);
    noteEvent("restart of the peer: " + stamp.outcome);
    return stamp.outcome == accepted;
}

}  // namespace
}  // namespace support

RebootRemote::RebootRemote() = default;
RebootRemote::~RebootRemote() = default;

bool RebootRemote::operator()(Status& status) try {
    return support::restartPeer(status);
} catch (const std::exception&) {
    return false;
}

}  // namespace KORA::HA::Daemon
