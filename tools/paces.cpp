#include "tools/paces.h"

#include <json/value.h>

#include <algorithm>

#include "config/config_table.h"
#include "config/number_text.h"
#include "hasupport/io/read_file.h"
#include "tools/config_document.h"

namespace korahamonctl {
namespace {

using KORA::HA::Daemon::ConfType;
using KORA::HA::Daemon::intFromText;

constexpr double tolerated = 3;
constexpr double passBoundSeconds = 5;

double setting(const Json::Value& document, ConfType type) {
    const auto& [key, fallbackText] = KORA::HA::Daemon::configTable().at(type);
    const int fallback = intFromText(fallbackText).value_or(0);
    const Json::Value& value = document[key];
    int number = fallback;
    if (value.isString()) {
        number = intFromText(value.asString()).value_or(fallback);
    } else if (value.isNumeric() && value.isConvertibleTo(Json::intValue)) {
        number = value.asInt();
    }
    return number < 0 ? fallback : number;
}

}  // namespace

Paces pacesFrom(const std::string& configuration) {
    Json::Value document = parseConfig(configuration).value_or(Json::objectValue);
    if (!document.isObject()) {
        document = Json::objectValue;
    }
    Paces paces;
    paces.peer = setting(document, KORA::HA::Daemon::BASE_INTERVAL_BUSY_FLAG);
    paces.checks = std::max(setting(document, KORA::HA::Daemon::BASE_INTERVAL_ACTIVE),
                            setting(document, KORA::HA::Daemon::BASE_INTERVAL_PASSIVE));
    paces.interface = paces.checks * (setting(document, KORA::HA::Daemon::NUM_OF_REST_NETWORK) + 1);
    return paces;
}

Paces pacesOfFile(const std::string& path) {
    return pacesFrom(KORA::HA::Daemon::support::readFile(path).value_or(std::string()));
}

double staleAfter(const std::string& reading, const Paces& paces) {
    double pace = paces.checks;
    if (reading == "remoteAlive" || reading == "drbdConnected") {
        pace = paces.peer;
    } else if (reading == "netNonOkRate") {
        pace = paces.interface;
    }
    return tolerated * pace + passBoundSeconds;
}

}  // namespace korahamonctl
