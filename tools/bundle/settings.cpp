// SPDX-License-Identifier: Apache-2.0
#include <json/reader.h>
#include <json/value.h>
#include <json/writer.h>

#include <algorithm>
#include <array>
#include <exception>
#include <memory>
#include <string_view>

#include "hasupport/text/json_guard.h"
#include "tools/bundle/contents.h"

namespace korahamonctl::bundle {
namespace {

constexpr std::size_t sizeLimit = std::size_t{64} << 10U;
constexpr unsigned int depthLimit = 16;
constexpr const char* leftOut = "(left out)";

bool isPlain(const std::string& key) {
    constexpr std::array<std::string_view, 5> keys = {"port", "peerTimeoutMs", "disks", "drbd",
                                                      "restart"};
    return std::find(keys.begin(), keys.end(), key) != keys.end();
}

bool isCommand(const std::string& key) {
    return key == "restartCommand" || key == "orderlyCommand";
}

// The program stays, its arguments go.
Json::Value commandAlone(const Json::Value& command) {
    Json::Value alone(Json::arrayValue);
    if (!command.isArray() || command.empty() || !command[0].isString()) {
        return leftOut;
    }
    alone.append(command[0]);
    if (command.size() > 1) {
        alone.append(leftOut);
    }
    return alone;
}

}  // namespace

std::string withoutSecrets(const std::string& settings) try {
    Json::Value file;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (!KORA::HA::Daemon::support::jsonIsBounded(settings, sizeLimit, depthLimit) ||
        !reader->parse(settings.data(), settings.data() + settings.size(), &file, nullptr) ||
        !file.isObject()) {
        return "left out: it is no JSON object\n";
    }
    Json::Value shown(Json::objectValue);
    for (const std::string& key : file.getMemberNames()) {
        shown[key] = isPlain(key)     ? file[key]
                     : isCommand(key) ? commandAlone(file[key])
                                      : Json::Value(leftOut);
    }
    return Json::writeString(Json::StreamWriterBuilder(), shown) + "\n";
} catch (const std::exception&) {
    return "left out: it does not parse\n";
}

}  // namespace korahamonctl::bundle
