// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/state_message.h"

#include <json/reader.h>
#include <json/value.h>
#include <json/writer.h>

#include <algorithm>
#include <exception>
#include <memory>

#include "hasupport/peer/frame.h"
#include "hasupport/text/json_guard.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr unsigned depthLimit = 16;
constexpr std::size_t textLimit = 200;

bool isDiskName(const std::string& name) {
    return !name.empty() && name.size() <= diskNameLimit &&
           std::all_of(name.begin(), name.end(), [](char c) { return c > ' ' && c <= '~'; });
}

std::string boundedText(const Json::Value& value) {
    std::string text = value.isString() ? value.asString().substr(0, textLimit) : "";
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return text;
}

bool readFlag(const Json::Value& message, const char* key, const char* unknownKey, bool& flag,
              std::string& unknown) {
    unknown = boundedText(message[unknownKey]);
    if (!message[key].isBool()) {
        return false;
    }
    flag = message[key].asBool();
    return true;
}

void readDisks(const Json::Value& list, std::vector<std::string>& disks) {
    if (!list.isArray()) {
        return;
    }
    for (const Json::Value& each : list) {
        if (disks.size() < diskCountLimit && each.isString() && isDiskName(each.asString())) {
            disks.push_back(each.asString());
        }
    }
}

std::optional<PeerState> readState(const Json::Value& message, std::string& problem) {
    PeerState state;
    if (!message.isObject() ||
        !readFlag(message, "mdResync", "mdResyncUnknown", state.mdResync, state.mdResyncUnknown) ||
        !readFlag(message, "diskErrHandling", "diskErrHandlingUnknown", state.diskErrHandling,
                  state.diskErrHandlingUnknown)) {
        problem = "the peer's answer lacks what it must hold";
        return std::nullopt;
    }
    readDisks(message["disks"], state.disks);
    state.software = boundedText(message["software"]);
    state.bootId = boundedText(message["bootId"]);
    state.wallSeconds = message["time"].isInt64() ? message["time"].asInt64() : 0;
    return state;
}

}  // namespace

std::string encodeState(const PeerState& state) {
    Json::Value message(Json::objectValue);
    message["protocol"] = stateProtocol;
    message["mdResync"] = state.mdResync;
    message["mdResyncUnknown"] = state.mdResyncUnknown;
    message["diskErrHandling"] = state.diskErrHandling;
    message["diskErrHandlingUnknown"] = state.diskErrHandlingUnknown;
    Json::Value& disks = message["disks"] = Json::Value(Json::arrayValue);
    for (const std::string& disk : state.disks) {
        if (isDiskName(disk) && disks.size() < diskCountLimit) {
            disks.append(disk);
        }
    }
    message["software"] = state.software;
    message["bootId"] = state.bootId;
    message["time"] = Json::Int64{state.wallSeconds};
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, message);
}

std::optional<PeerState> decodeState(std::string_view text, std::string& problem) try {
    problem = "the peer's answer is no JSON";
    if (!jsonIsBounded(text, frameBodyLimit, depthLimit)) {
        problem = "the peer's answer is nested too deep";
        return std::nullopt;
    }
    Json::Value message;
    std::string errors;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (!reader->parse(text.data(), text.data() + text.size(), &message, &errors)) {
        return std::nullopt;
    }
    return readState(message, problem);
} catch (const std::exception&) {
    return std::nullopt;
}

}  // namespace KORA::HA::Daemon::support
