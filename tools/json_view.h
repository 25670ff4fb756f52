// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <optional>
#include <string>

#include "tools/json_words.h"

namespace korahamonctl {

/// A value that jsoncpp has parsed, as health_reader.h reads it.
class JsonView {
  public:
    explicit JsonView(const Json::Value& value) : value_(&value) {}

    JsonView member(const char* key) const { return JsonView(korahamonctl::member(*value_, key)); }
    std::optional<bool> flag() const {
        return value_->isBool() ? std::optional(value_->asBool()) : std::nullopt;
    }
    std::optional<double> number() const {
        return value_->isNumeric() ? std::optional(value_->asDouble()) : std::nullopt;
    }
    std::optional<std::string> text() const {
        return value_->isString() ? std::optional(value_->asString()) : std::nullopt;
    }
    bool isNull() const { return value_->isNull() && value_ != &Json::Value::nullSingleton(); }
    bool isObject() const { return value_->isObject(); }
    bool isList() const { return value_->isArray(); }
    std::size_t size() const { return value_->size(); }
    JsonView item(std::size_t i) const {
        return JsonView((*value_)[static_cast<Json::ArrayIndex>(i)]);
    }

  private:
    const Json::Value* value_;
};

}  // namespace korahamonctl
