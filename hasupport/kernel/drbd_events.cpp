// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/drbd_events.h"

#include <algorithm>
#include <string>

#include "hasupport/kernel/fields.h"

namespace KORA::HA::Daemon::support {
namespace {

struct Connection {
    std::string peerNode;
    bool established = false;
    bool toPeer = false;  // a path of it leads to the address asked for
    bool resyncTarget = false;
};

struct Resource {
    std::string name;
    bool hasDevice = false;
    bool upToDate = true;
    std::vector<Connection> connections;
};

constexpr std::size_t connectionLimit = 32;

/// The value of `key` (with its colon) among the blank-separated words of `words`.
std::string_view valueOf(std::string_view words, std::string_view key) {
    for (auto word = nextField(words); !word.empty(); word = nextField(words)) {
        if (word.substr(0, key.size()) == key) {
            return word.substr(key.size());
        }
    }
    return {};
}

/// "ipv4:192.0.2.2:7789" gives "192.0.2.2", "ipv6:[2001:db8::2]:7789" gives "2001:db8::2".
std::string_view addressOf(std::string_view endpoint) {
    endpoint.remove_prefix(std::min(endpoint.find(':') + 1, endpoint.size()));
    endpoint = endpoint.substr(0, endpoint.rfind(':'));
    if (endpoint.size() >= 2 && endpoint.front() == '[' && endpoint.back() == ']') {
        endpoint = endpoint.substr(1, endpoint.size() - 2);
    }
    return endpoint;
}

class EventsReader {
  public:
    explicit EventsReader(std::string_view peerAddress) : peerAddress_(peerAddress) {}

    /// False when the line names more than is ever kept.
    bool take(std::string_view object, std::string_view words) {
        const bool known = object == "resource" || object == "device" || object == "connection" ||
                           object == "peer-device" || object == "path";
        const std::string_view name = valueOf(words, "name:");
        if (!known || name.empty()) {
            return true;
        }
        Resource* const resource = findResource(name);
        if (resource == nullptr) {
            return false;
        }
        if (object == "device") {
            resource->hasDevice = true;
            resource->upToDate = resource->upToDate && valueOf(words, "disk:") == "UpToDate";
        }
        return object == "resource" || object == "device" ||
               takeConnection(*resource, object, words);
    }

    std::vector<DrbdResource> result() const {
        std::vector<DrbdResource> all;
        for (const Resource& resource : resources_) {
            all.push_back(summary(resource));
        }
        return all;
    }

  private:
    Resource* findResource(std::string_view name) {
        const auto found = std::find_if(resources_.begin(), resources_.end(),
                                        [&](const Resource& each) { return each.name == name; });
        if (found != resources_.end()) {
            return &*found;
        }
        if (resources_.size() >= drbdResourceLimit || name.size() > drbdNameLimit) {
            return nullptr;
        }
        resources_.push_back(Resource{std::string(name), false, true, {}});
        return &resources_.back();
    }

    bool takeConnection(Resource& resource, std::string_view object, std::string_view words) const {
        const std::string_view node = valueOf(words, "peer-node-id:");
        auto& all = resource.connections;
        auto found = std::find_if(all.begin(), all.end(),
                                  [&](const Connection& each) { return each.peerNode == node; });
        if (found == all.end()) {
            if (all.size() >= connectionLimit || node.size() > drbdNameLimit) {
                return false;
            }
            found = all.insert(all.end(), Connection{std::string(node), false, false, false});
        }
        if (object == "connection") {
            found->established = valueOf(words, "connection:") == "Connected";
        } else if (object == "peer-device") {
            found->resyncTarget |= isResyncTarget(valueOf(words, "replication:"));
        } else if (!peerAddress_.empty()) {
            found->toPeer |= addressOf(valueOf(words, "peer:")) == peerAddress_;
        }
        return true;
    }

    static DrbdResource summary(const Resource& resource) {
        const auto& all = resource.connections;
        const bool anyToPeer =
            std::any_of(all.begin(), all.end(), [](const Connection& each) { return each.toPeer; });
        DrbdResource out;
        out.name = resource.name;
        out.upToDate = resource.hasDevice && resource.upToDate;
        out.established = !all.empty();
        for (const Connection& each : all) {
            out.resyncTarget |= each.resyncTarget;
            out.established &= each.established || (anyToPeer && !each.toPeer);
        }
        return out;
    }

    std::string_view peerAddress_;
    std::vector<Resource> resources_;
};

}  // namespace

std::optional<std::vector<DrbdResource>> parseDrbdEvents(std::string_view text,
                                                         std::string_view peerAddress) {
    EventsReader reader(peerAddress);
    std::string_view line;
    while (nextLine(text, line)) {
        if (nextField(line) != "exists") {
            continue;
        }
        const std::string_view object = nextField(line);
        if (object == "-") {
            return reader.result();
        }
        if (!reader.take(object, line)) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

}  // namespace KORA::HA::Daemon::support
