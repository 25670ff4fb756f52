// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "hasupport/export.h"

// The replication link that the library's probes and its service for the peer use. Called once
// each, before any routine starts (any thread; no call blocks); the value is stored as it stands
// and returned. Nothing is checked here: a probe that cannot work with it says so once in the
// system log.

/// Sets the local replication address: IPv4 or IPv6 in numbers, a link-local one with or without
/// its interface ("fe80::1%eth1").
KORAHA_EXPORT std::string localIP(const std::string& address);
/// Sets the peer's replication address.
KORAHA_EXPORT std::string remoteIP(const std::string& address);
/// Sets the name of the replication interface.
KORAHA_EXPORT std::string drbdIF(const std::string& name);
