// SPDX-License-Identifier: Apache-2.0
#include <cstdarg>

#include "hasupport/exec.h"
#include "hasupport/replication_link.h"
#include "tests/scripted/script.h"

int VLIBCExecl(const char* path, int options, const char* arg, ...) {
    std::string call = std::string(path) + " " + std::to_string(options);
    va_list rest;
    va_start(rest, arg);
    for (const char* each = arg; each != nullptr; each = va_arg(rest, const char*)) {
        call += std::string(" ") + each;
    }
    va_end(rest);
    script().note("VLIBCExecl " + call);
    script().toolCalls.push_back(call);
    return script().toolResult();
}

std::string localIP(const std::string& address) {
    script().note("localIP " + address);
    return address;
}
std::string remoteIP(const std::string& address) {
    script().note("remoteIP " + address);
    return address;
}
std::string drbdIF(const std::string& name) {
    script().note("drbdIF " + name);
    return name;
}
