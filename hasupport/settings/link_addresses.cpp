// SPDX-License-Identifier: Apache-2.0
#include "hasupport/settings/link_addresses.h"

#include <mutex>

#include "hasupport/replication_link.h"

namespace {

using KORA::HA::Daemon::support::LinkAddresses;

std::mutex& linkMutex() {
    static constinit std::mutex mutex;
    return mutex;
}

LinkAddresses& link() {
    static LinkAddresses addresses;
    return addresses;
}

std::string store(std::string LinkAddresses::*member, const std::string& value) {
    const std::lock_guard lock(linkMutex());
    link().*member = value;
    return value;
}

}  // namespace

std::string localIP(const std::string& address) {
    return store(&LinkAddresses::local, address);
}
std::string remoteIP(const std::string& address) {
    return store(&LinkAddresses::remote, address);
}
std::string drbdIF(const std::string& name) {
    return store(&LinkAddresses::interface, name);
}

namespace KORA::HA::Daemon::support {

LinkAddresses linkAddresses() {
    const std::lock_guard lock(linkMutex());
    return link();
}

}  // namespace KORA::HA::Daemon::support
