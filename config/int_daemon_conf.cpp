// SPDX-License-Identifier: Apache-2.0
#include "config/int_daemon_conf.h"

#include <json/reader.h>

#include <exception>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>

#include "config/number_text.h"
#include "log/log_line.h"

namespace KORA::HA::Daemon {
namespace {

constexpr const char* sourceTag = "int_daemon_conf";
constexpr int notExistLine = 91;
constexpr int loadLine = 95;
constexpr int parseFailedLine = 99;

const std::string configPath = "/var/lib/ha/remote_mond.conf";

// Filled by Load before any other thread exists, only read afterwards.
Json::Value document(Json::objectValue);

const ConfEntry& entryOf(ConfType type) {
    static const ConfEntry unknown;
    const auto found = configTable().find(type);
    return found == configTable().end() ? unknown : found->second;
}

// The whole text is read before it is parsed: the reader keeps pointers into what it parses and
// needs them again for its error messages.
std::optional<std::string> parseDocument(std::istream& file) {
    try {
        const std::string text{std::istreambuf_iterator<char>(file), {}};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
        Json::Reader reader;
        if (!reader.parse(text, document, false)) {
            return reader.getFormattedErrorMessages();
        }
#pragma GCC diagnostic pop
        return std::nullopt;
    } catch (const std::exception& e) {
        return e.what();
    }
}

template <typename Number>
Number numberOr(std::optional<Number> fromFile, std::optional<Number> fromDefault) {
    return fromFile ? *fromFile : fromDefault.value_or(Number{});
}

}  // namespace

bool Load() {
    std::ifstream file(configPath);
    if (!file) {
        logMessage(sourceTag, notExistLine, "Daemon configure file not exist");
        return true;
    }
    logMessage(sourceTag, loadLine, "Load configure from file: " + configPath);
    if (const auto error = parseDocument(file)) {
        logMessage(sourceTag, parseFailedLine,
                   "Failed to parse json from file " + configPath + ": " + *error);
        return false;
    }
    return true;
}

Json::Value GetJson(ConfType type) {
    const auto& [key, defaultText] = entryOf(type);
    const Json::Value& loaded = document;
    if (loaded.isObject() && loaded.isMember(key)) {
        return loaded[key];
    }
    return {defaultText};
}

std::string GetStr(ConfType type) {
    return GetJson(type).asString();
}

int GetInt(ConfType type) {
    const Json::Value value = GetJson(type);
    if (!value.isString()) {
        return value.asInt();
    }
    return numberOr(intFromText(value.asString()), intFromText(entryOf(type).second));
}

float GetFloat(ConfType type) {
    const Json::Value value = GetJson(type);
    if (!value.isString()) {
        return value.asFloat();
    }
    return numberOr(floatFromText(value.asString()), floatFromText(entryOf(type).second));
}

void TEST_resetDocument() {
    document = Json::Value(Json::objectValue);
}

std::optional<std::string> TEST_load(const std::string& text) {
    std::istringstream file(text);
    return parseDocument(file);
}

}  // namespace KORA::HA::Daemon
