// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/peer_key.h"

#include <sodium.h>
#include <sys/stat.h>

#include <algorithm>
#include <string_view>

#include "hasupport/io/trusted_file.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::string_view idContext = "koraha peer key id";

void addKey(PeerKeys& keys, const std::string& path) {
    const TrustedFile file = readTrustedFile(path, S_IRWXG | S_IRWXO | S_IXUSR, peerKeyBytes);
    if (!file.present) {
        return;
    }
    if (!file.text) {
        keys.problem = path + " " + file.problem;
        keys.shortage = file.shortage;
    } else if (file.text->size() != peerKeyBytes) {
        keys.problem = path + " does not hold 32 bytes";
    } else {
        keys.keys.push_back(makePeerKey(*file.text));
    }
}

}  // namespace

const PeerKey* PeerKeys::find(const KeyId& id) const {
    const auto found =
        std::find_if(keys.begin(), keys.end(), [&](const PeerKey& key) { return key.id == id; });
    return found == keys.end() ? nullptr : &*found;
}

PeerKey makePeerKey(const std::string& bytes) {
    PeerKey key;
    std::copy_n(bytes.begin(), std::min(bytes.size(), key.secret.size()), key.secret.begin());
    std::array<std::uint8_t, crypto_generichash_BYTES> hash{};
    crypto_generichash(hash.data(), hash.size(),
                       reinterpret_cast<const unsigned char*>(idContext.data()), idContext.size(),
                       key.secret.data(), key.secret.size());
    std::copy_n(hash.begin(), key.id.size(), key.id.begin());
    return key;
}

PeerKeys readPeerKeys(const std::string& path) {
    PeerKeys keys;
    // The next one first: whoever commits it in between leaves it to be found as the one in force.
    addKey(keys, path + ".next");
    addKey(keys, path);
    std::reverse(keys.keys.begin(), keys.keys.end());
    return keys;
}

}  // namespace KORA::HA::Daemon::support
