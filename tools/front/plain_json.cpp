// SPDX-License-Identifier: Apache-2.0
#include "tools/front/plain_json.h"

#include <nlohmann/json.hpp>

#include "hasupport/text/json_guard.h"
#include "tools/health_reader.h"

namespace korahamonctl::front {
namespace {

using Json = nlohmann::json;

constexpr std::size_t sizeLimit = std::size_t{1} << 20U;
constexpr unsigned depthLimit = 32;

// A value as health_reader.h reads it.
class View {
  public:
    explicit View(const Json* value) : value_(value) {}

    View member(const char* key) const {
        if (!isObject()) {
            return View(nullptr);
        }
        const auto found = value_->find(key);
        return View(found == value_->end() ? nullptr : &*found);
    }
    std::optional<bool> flag() const {
        return value_ != nullptr && value_->is_boolean() ? std::optional(value_->get<bool>())
                                                         : std::nullopt;
    }
    std::optional<double> number() const {
        return value_ != nullptr && value_->is_number() ? std::optional(value_->get<double>())
                                                        : std::nullopt;
    }
    std::optional<std::string> text() const {
        return value_ != nullptr && value_->is_string()
                   ? std::optional(value_->get_ref<const std::string&>())
                   : std::nullopt;
    }
    bool isNull() const { return value_ != nullptr && value_->is_null(); }
    bool isObject() const { return value_ != nullptr && value_->is_object(); }
    bool isList() const { return value_ != nullptr && value_->is_array(); }
    std::size_t size() const { return value_->size(); }
    View item(std::size_t i) const { return View(&(*value_)[i]); }

  private:
    const Json* value_;  // nothing where there is no value
};

// An object of plain JSON, without anything in front of it; else a discarded value.
Json plainObject(const std::string& text) {
    if (!text.starts_with('{') ||
        !KORA::HA::Daemon::support::jsonIsBounded(text, sizeLimit, depthLimit)) {
        return Json::value_t::discarded;
    }
    return Json::parse(text, nullptr, false);
}

}  // namespace

std::optional<HealthRecord> plainRecord(const std::string& line) {
    const Json document = plainObject(line);
    const View status(&document);
    if (status.member("error").text() || !status.member("version").number()) {
        return std::nullopt;
    }
    return recordFrom(status);
}

std::optional<Criteria> plainCriteria(const std::string& configuration) {
    const Json document = plainObject(configuration);
    if (document.is_discarded()) {
        return std::nullopt;
    }
    return criteriaBy([&](KORA::HA::Daemon::ConfType type) {
        const std::string& key = KORA::HA::Daemon::configTable().at(type).first;
        return settingFrom(configuredFrom(View(&document).member(key.c_str())), type);
    });
}

}  // namespace korahamonctl::front
