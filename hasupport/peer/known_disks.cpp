// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/known_disks.h"

#include <mutex>
#include <set>

#include "hasupport/io/notice.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t distinctLimit = 1024;
constinit Notice tooMany;

}  // namespace

std::vector<std::string> onlyKnownDisks(const std::vector<std::string>& names) {
    static std::mutex mutex;
    static std::set<std::string> known;
    const std::lock_guard lock(mutex);
    std::vector<std::string> kept;
    for (const std::string& name : names) {
        if (known.contains(name) || (known.size() < distinctLimit && known.insert(name).second)) {
            kept.push_back(name);
        } else {
            tooMany.raise("the peer has named more than 1024 disks: new names are left out");
        }
    }
    return kept;
}

}  // namespace KORA::HA::Daemon::support
