#pragma once

#include <string>

#include "hasupport/export.h"

// The replication link that the library's probes use. Called once each, before any routine starts;
// the value is stored as it stands and returned. Nothing is checked here: a probe that cannot work
// with it says so once in the system log.

/// Sets the local replication address.
KORAHA_EXPORT std::string localIP(const std::string& address);
/// Sets the peer's replication address.
KORAHA_EXPORT std::string remoteIP(const std::string& address);
/// Sets the name of the replication interface.
KORAHA_EXPORT std::string drbdIF(const std::string& name);
