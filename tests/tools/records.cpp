// SPDX-License-Identifier: Apache-2.0
#include "records.h"

#include <json/writer.h>

namespace koraha::test {

Json::Value healthyStatus() {
    Json::Value status;
    status["version"] = 1;
    for (const char* key : {"remoteAlive", "drbdConnected"}) {
        status[key] = true;
    }
    for (const char* key :
         {"remoteMDResync", "remoteDiskErrHandling", "localMDResync", "localDiskErrHandling"}) {
        status[key] = false;
    }
    status["netNonOkRate"] = 0.0;
    status["hbLatency"] = 0.31;
    status["active"] = true;
    for (const char* key :
         {"errHandlingDisks", "errHandlingDisksRemote", "constraints", "degradedArrays"}) {
        status[key] = Json::arrayValue;
    }
    for (const char* reading :
         {"remoteAlive", "drbdConnected", "remoteMDResync", "remoteDiskErrHandling",
          "localMDResync", "localDiskErrHandling", "netNonOkRate", "hbLatency"}) {
        Json::Value& state = status["readings"][reading];
        state["valid"] = true;
        state["reason"] = "";
        state["ageSeconds"] = 2.0;
        state["attemptAgeSeconds"] = 2.0;
        status["ageSeconds"][reading] = 2.0;
    }
    status["lastRestart"] = Json::nullValue;
    status["pid"] = 4242;
    status["uptimeSeconds"] = 77.0;
    status["softwareVersion"] = "1.0.0";
    return status;
}

Json::Value healthyBut(const std::string& key, const Json::Value& value) {
    Json::Value status = healthyStatus();
    status[key] = value;
    return status;
}

Json::Value healthyWithout(const std::string& reading, const std::string& reason) {
    Json::Value status = healthyStatus();
    status["readings"][reading]["valid"] = false;
    status["readings"][reading]["reason"] = reason;
    return status;
}

Json::Value healthyAged(const std::string& reading, double age) {
    Json::Value status = healthyStatus();
    status["readings"][reading]["ageSeconds"] = age;
    return status;
}

std::string lineOf(const Json::Value& status) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, status);
}

}  // namespace koraha::test
