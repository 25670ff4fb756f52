// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <string>

/// A JSON value in one line, as it is noted with a call.
std::string jsonLine(const Json::Value& value);
