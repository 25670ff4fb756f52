// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket/request.h"

#include <json/value.h>

#include <exception>
#include <string_view>

#include "hasupport/text/json_guard.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr unsigned nestingLimit = 16;

std::unique_ptr<Json::CharReader> makeParser() {
    Json::CharReaderBuilder builder;
    builder["collectComments"] = false;
    builder["failIfExtra"] = true;
    return std::unique_ptr<Json::CharReader>(builder.newCharReader());
}

Request invalid(const char* problem) {
    return {RequestKind::invalid, problem};
}

Request understand(const Json::Value& document) {
    if (!document.isObject()) {
        return invalid("a request is a JSON object");
    }
    constexpr std::string_view member = "request";
    const Json::Value* name = document.find(member.data(), member.data() + member.size());
    if (name == nullptr || !name->isString()) {
        return invalid("the member \"request\" must be a string");
    }
    const std::string wanted = name->asString();
    if (wanted == "status") {
        return {RequestKind::status};
    }
    if (wanted == "watch") {
        return {RequestKind::watch};
    }
    if (wanted == "history") {
        return {RequestKind::history};
    }
    return invalid("unknown request: known are status, watch and history");
}

}  // namespace

RequestReader::RequestReader() : parser_(makeParser()) {}

Request RequestReader::read(std::string_view line) {
    if (last_.kind != RequestKind::invalid && line == lastLine_) {
        return last_;
    }
    last_ = {};
    const Request request = parse(line);
    // A failure may be a shortage of memory, and over at the next time.
    if (request.kind != RequestKind::invalid) {
        lastLine_ = line;
        last_ = request;
    }
    return request;
}

Request RequestReader::parse(std::string_view line) try {
    if (!jsonIsBounded(line, requestLineLimit, nestingLimit)) {
        return invalid("request too long or nested too deeply");
    }
    Json::Value document;
    if (!parser_->parse(line.data(), line.data() + line.size(), &document, nullptr)) {
        return invalid("request is not JSON");
    }
    return understand(document);
} catch (const std::exception&) {
    return invalid("request is not JSON");  // the parser throws on some of what it cannot read
}

}  // namespace KORA::HA::Daemon::support
