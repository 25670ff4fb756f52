// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace KORA::HA::Daemon::support {

inline constexpr std::size_t peerKeyBytes = 32;
inline constexpr std::size_t keyIdBytes = 8;

using KeyId = std::array<std::uint8_t, keyIdBytes>;

/// The secret that both nodes hold, and the public name by which they agree on one.
struct PeerKey {
    std::array<std::uint8_t, peerKeyBytes> secret{};
    KeyId id{};
};

/// The keys of this node, the one in force first. While a key is rolled over there are two, PATH
/// and PATH.next: the nodes then agree on one that both hold, whichever of them commits first.
struct PeerKeys {
    std::vector<PeerKey> keys;
    std::string problem;  ///< not empty: a key file is there but refused; then nobody is talked to
    bool shortage = false;  ///< of descriptors or memory; nothing else may be wrong with the file

    bool usable() const { return problem.empty(); }
    const PeerKey* find(const KeyId& id) const;
};

/// A key from its bytes, with its name.
PeerKey makePeerKey(const std::string& bytes);

/// Reads PATH and PATH.next: regular files of root, mode 0600, of 32 bytes. No file is no key. A
/// key that was there as the next one is found, however it is committed meanwhile.
PeerKeys readPeerKeys(const std::string& path);

}  // namespace KORA::HA::Daemon::support
