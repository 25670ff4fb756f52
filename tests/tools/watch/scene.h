// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <string>

#include "tools/watch/page.h"

namespace koraha::test {

/// A pair in which all is well, at 10:03:20 on 21 November 2026; nobody has spoken for a second.
korahamonctl::watch::Scene calmScene();

/// One sample of a history.
Json::Value latencySample(double at, const Json::Value& value, int sent, int answered);
Json::Value rateSample(double at, const Json::Value& value);

Json::Value parsed(const std::string& text);

/// The rows of a page, each with a newline behind it.
std::string textOf(const korahamonctl::watch::Canvas& page);

}  // namespace koraha::test
