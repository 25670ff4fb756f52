// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <optional>
#include <string>

#include "config/config_table.h"

namespace KORA::HA::Daemon {

/// Reads "/var/lib/ha/remote_mond.conf" once, before any routine starts. True when the file is
/// missing, unreadable (every setting keeps its default) or parsed; false when it does not parse.
/// Says what it did in the daemon log.
bool Load();

// Typed getters. Any thread, after Load; each call looks the setting up anew and never blocks. A
// text that spells a number counts as that number; one that spells none, as the setting's default.
// A value of an unusable JSON type (an array, an object) throws Json::Exception, which nobody
// catches: a daemon must not run on a setting that it cannot read.

/// The file's member of the setting's key, whatever its type; else the default as a JSON string.
Json::Value GetJson(ConfType type);
std::string GetStr(ConfType type);
int GetInt(ConfType type);
float GetFloat(ConfType type);

/// For tests only: forgets what was loaded.
void TEST_resetDocument();
/// For tests only: loads a text as the file's; what is wrong with it, if anything.
std::optional<std::string> TEST_load(const std::string& text);

}  // namespace KORA::HA::Daemon
