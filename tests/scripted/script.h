#pragma once

#include <json/value.h>

#include <functional>
#include <string>
#include <vector>

/// What the scripted support library answers, and what it was asked. Set by one test at a time.
struct Script {
    std::vector<std::string> logLines;
    std::vector<std::string> toolCalls;
    int toolResult = 0;
    bool constraints = false;
    int restarts = 0;
    std::function<bool()> remoteAlive = [] { return false; };
    std::function<bool()> drbdConnected = [] { return false; };
};

Script& script();
