// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <string>

namespace korahamonctl {

struct PeerKeyOptions {
    std::string path = "/var/lib/ha/peer.key";
    bool next = false;
    bool commit = false;
};

/// Makes a key (or the key to come, or puts that in force); 0, or 1 with the reason on `err`.
int newPeerKey(const PeerKeyOptions& options, std::ostream& out, std::ostream& err);

/// Prints the fingerprint of the key, and of the key to come where there is one.
int showFingerprint(const PeerKeyOptions& options, std::ostream& out, std::ostream& err);

}  // namespace korahamonctl
