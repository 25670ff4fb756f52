// SPDX-License-Identifier: Apache-2.0
#include "hasupport/settings/support_settings.h"

#include <json/reader.h>
#include <json/value.h>
#include <sys/stat.h>

#include <atomic>
#include <exception>
#include <memory>

#include "hasupport/io/notice.h"
#include "hasupport/io/trusted_file.h"
#include "hasupport/text/json_guard.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr const char* settingsPath = "/var/lib/ha/hasupport.conf";
constexpr std::size_t sizeLimit = std::size_t{64} << 10U;
constexpr unsigned depthLimit = 16;
constexpr unsigned listLimit = 64;
constexpr int shortestTimeoutMs = 100;
constexpr int longestTimeoutMs = 1000;

using Problems = std::vector<std::string>;

void readNumber(const Json::Value& file, const char* key, int least, int most, int& into,
                Problems& problems) {
    if (!file.isMember(key)) {
        return;
    }
    const Json::Value& value = file[key];
    if (value.isInt() && value.asInt() >= least && value.asInt() <= most) {
        into = value.asInt();
    } else {
        problems.push_back(std::string(key) + " must be a whole number from " +
                           std::to_string(least) + " to " + std::to_string(most));
    }
}

void readStrings(const Json::Value& file, const char* key, std::vector<std::string>& into,
                 Problems& problems) {
    if (!file.isMember(key)) {
        return;
    }
    const Json::Value& list = file[key];
    std::vector<std::string> texts;
    bool good = list.isArray() && list.size() <= listLimit;
    for (Json::ArrayIndex i = 0; good && i < list.size(); ++i) {
        good = list[i].isString();
        texts.push_back(good ? list[i].asString() : "");
    }
    if (good) {
        into = std::move(texts);
    } else {
        problems.push_back(std::string(key) + " must be a list of at most " +
                           std::to_string(listLimit) + " strings");
    }
}

void readCommand(const Json::Value& file, const char* key, std::vector<std::string>& into,
                 Problems& problems) {
    std::vector<std::string> words;
    readStrings(file, key, words, problems);
    if (words.empty()) {
        return;
    }
    if (words.front().starts_with('/')) {
        into = std::move(words);
    } else {
        problems.push_back(std::string(key) + " must begin with an absolute path");
    }
}

void readMethod(const Json::Value& file, SupportSettings& settings, Problems& problems) {
    if (!file.isMember("restart")) {
        return;
    }
    const std::string word = file["restart"].isString() ? file["restart"].asString() : "";
    if (word == "request") {
        settings.restart = RestartMethod::request;
    } else if (word == "command") {
        settings.restart = RestartMethod::command;
    } else if (word == "request-then-command") {
        settings.restart = RestartMethod::requestThenCommand;
    } else {
        problems.emplace_back("restart must be request, command or request-then-command");
    }
}

void readSettings(const Json::Value& file, SupportSettings& settings, Problems& problems) {
    int port = settings.peerPort;
    readNumber(file, "port", 1, 65535, port, problems);
    settings.peerPort = static_cast<std::uint16_t>(port);
    readNumber(file, "peerTimeoutMs", shortestTimeoutMs, longestTimeoutMs, settings.peerTimeoutMs,
               problems);
    readStrings(file, "disks", settings.disks, problems);
    if (file.isMember("drbd")) {
        if (file["drbd"].isBool()) {
            settings.drbd = file["drbd"].asBool();
        } else {
            problems.emplace_back("drbd must be true or false");
        }
    }
    readMethod(file, settings, problems);
    readCommand(file, "restartCommand", settings.restartCommand, problems);
    readCommand(file, "orderlyCommand", settings.orderlyCommand, problems);
    if (settings.restart != RestartMethod::request && settings.restartCommand.empty()) {
        problems.emplace_back("restart asks for a command, but restartCommand names none");
        settings.restart = RestartMethod::request;
    }
}

constinit std::atomic<const SupportSettings*> replacement{nullptr};

}  // namespace

SupportSettings parseSupportSettings(const std::string& text, Problems& problems) {
    SupportSettings settings;
    if (!jsonIsBounded(text, sizeLimit, depthLimit)) {
        problems.emplace_back("too large or nested too deep: it is ignored");
        return settings;
    }
    try {
        Json::Value file;
        std::string errors;
        const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
        if (!reader->parse(text.data(), text.data() + text.size(), &file, &errors)) {
            problems.push_back("does not parse, it is ignored: " + errors);
        } else if (!file.isObject()) {
            problems.emplace_back("is not a JSON object: it is ignored");
        } else {
            readSettings(file, settings, problems);
        }
    } catch (const std::exception& e) {
        problems.push_back(std::string("does not parse, it is ignored: ") + e.what());
    }
    return settings;
}

SupportSettings loadSupportSettings(const std::string& path) {
    const TrustedFile file = readTrustedFile(path, S_IWGRP | S_IWOTH, sizeLimit);
    if (!file.present) {
        return {};
    }
    if (!file.text) {
        notify(path + " " + file.problem + ": it is ignored");
        return {};
    }
    Problems problems;
    SupportSettings settings = parseSupportSettings(*file.text, problems);
    for (const std::string& problem : problems) {
        notify(std::string(path).append(": ").append(problem));
    }
    return settings;
}

const SupportSettings& supportSettings() {
    if (const SupportSettings* settings = replacement) {
        return *settings;
    }
    static const SupportSettings settings = loadSupportSettings(settingsPath);
    return settings;
}

void TEST_replaceSupportSettings(const SupportSettings* settings) {
    replacement = settings;
}

}  // namespace KORA::HA::Daemon::support
