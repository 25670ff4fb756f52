// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/peer_requests.h"

#include <json/reader.h>
#include <json/value.h>
#include <json/writer.h>

#include <ctime>
#include <exception>
#include <memory>

#include "hasupport/io/boot_identity.h"
#include "hasupport/peer/restart_duty.h"
#include "hasupport/peer/state_message.h"
#include "hasupport/status/readings.h"
#include "hasupport/text/json_guard.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t requestLimit = 4096;
constexpr unsigned depthLimit = 16;

std::string reasonUnknown(Reading reading) {
    const ReadingState state = readingState(reading);
    return state.valid ? std::string() : state.reason;
}

std::string ownState(Status& status) {
    PeerState state;
    state.mdResync = status.localMDResync;
    state.mdResyncUnknown = reasonUnknown(Reading::localMDResync);
    state.diskErrHandling = status.localDiskErrHandling;
    state.diskErrHandlingUnknown = reasonUnknown(Reading::localDiskErrHandling);
    for (const Json::Value& disk : status.getErrHandlingDisk()) {
        if (disk.isString()) {
            state.disks.push_back(disk.asString());
        }
    }
    state.software = KORAHA_VERSION;
    state.bootId = bootIdentity().bootId;
    state.wallSeconds = std::time(nullptr);
    return encodeState(state);
}

std::string verdictText(const RestartVerdict& verdict) {
    Json::Value answer(Json::objectValue);
    answer["accepted"] = verdict.accepted;
    answer["reason"] = verdict.reason;
    if (verdict.unable) {
        answer["unable"] = true;
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, answer);
}

Json::Value parseRequest(std::string_view payload) {
    Json::Value request;
    std::string errors;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (!jsonIsBounded(payload, requestLimit, depthLimit) ||
        !reader->parse(payload.data(), payload.data() + payload.size(), &request, &errors) ||
        !request.isObject()) {
        request = Json::Value(Json::objectValue);
    }
    return request;
}

}  // namespace

std::string answerPeer(std::string_view payload, bool authenticated, Status& status) try {
    const Json::Value request = parseRequest(payload);
    const std::string what = request["request"].isString() ? request["request"].asString() : "";
    if (what == "state") {
        return ownState(status);
    }
    if (what == "restart") {
        const std::string why = request["reason"].isString() ? request["reason"].asString() : "";
        return verdictText(authenticated ? obeyRestart(why)
                                         : RestartVerdict{false, "a restart needs the peer key"});
    }
    return R"({"error":"unknown request"})";
} catch (const std::exception&) {
    return R"({"error":"malformed request"})";
}

}  // namespace KORA::HA::Daemon::support
