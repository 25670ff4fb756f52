#include "hasupport/reboot_remote.h"

#include <json/reader.h>
#include <json/value.h>
#include <json/writer.h>

#include <exception>
#include <memory>
#include <vector>

#include "hasupport/core/exec_options.h"
#include "hasupport/core/run_program.h"
#include "hasupport/io/deadline.h"
#include "hasupport/io/notice.h"
#include "hasupport/peer/peer_client.h"
#include "hasupport/peer/restart_duty.h"
#include "hasupport/peer/restart_record.h"
#include "hasupport/peer/restart_stamp.h"
#include "hasupport/settings/support_settings.h"
#include "hasupport/socket/json_guard.h"
#include "hasupport/status/history.h"

namespace KORA::HA::Daemon {
namespace support {
namespace {

constexpr std::size_t answerLimit = 4096;
constexpr unsigned depthLimit = 16;
constexpr const char* accepted = "accepted";

std::string reasonFrom(Status& status) {
    std::string reason = "too many errors on one disk; under error handling:";
    for (const Json::Value& disk : status.getErrHandlingDiskRemote()) {
        if (disk.isString()) {
            reason += " " + disk.asString();
        }
    }
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

std::string outcomeIn(const std::string& payload) {
    Json::Value answer;
    std::string errors;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (!jsonIsBounded(payload, answerLimit, depthLimit) ||
        !reader->parse(payload.data(), payload.data() + payload.size(), &answer, &errors) ||
        !answer.isObject() || !answer["accepted"].isBool()) {
        return "the peer's answer is malformed";
    }
    if (answer["accepted"].asBool()) {
        return accepted;
    }
    return "refused: " + (answer["reason"].isString() ? answer["reason"].asString() : "");
}

std::string request(const std::string& reason) {
    const Milliseconds bound(supportSettings().peerTimeoutMs);
    const PeerAnswer answer = askPeer(requestText(reason), true, Deadline::in(bound));
    return answer.payload ? outcomeIn(*answer.payload) : answer.problem;
}

std::string runCommand() {
    const std::vector<std::string>& words = supportSettings().restartCommand;
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));  // running does not write to them
    }
    arguments.push_back(nullptr);
    const int status = runProgram(words.front().c_str(), execAllOptions, arguments.data());
    return status == 0 ? accepted : "the restart command ended with " + std::to_string(status);
}

std::string carryOut(const std::string& reason) {
    const RestartMethod method = supportSettings().restart;
    if (method == RestartMethod::command) {
        return runCommand();
    }
    std::string outcome = request(reason);
    if (outcome == accepted || method == RestartMethod::request) {
        return outcome;
    }
    notify("the peer does not restart at a request (" + outcome + "): running the command");
    return runCommand();
}

bool restartPeer(Status& status) {
    const AskingForRestart asking;
    const std::string reason = reasonFrom(status);
    RestartStamp stamp = RestartStamp::now(reason, "requested");
    if (!writeStamp(askedStampPath(), stamp)) {
        notify("the peer is not restarted: the stamp of the restart cannot be written");
        noteEvent("the peer is not restarted: the stamp of the restart cannot be written");
        return false;
    }
    stamp.outcome = carryOut(reason);
    writeStamp(askedStampPath(), stamp);
    expectRestartProgress();
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
