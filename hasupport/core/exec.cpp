// SPDX-License-Identifier: Apache-2.0
#include "hasupport/exec.h"

#include <syslog.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string_view>

#include "hasupport/core/run_program.h"

namespace {

// The path, the arguments and the null pointer at their end.
constexpr std::size_t argumentSlots = 66;

/// Tells the system log, once per change, why a program could not be run: callers see only -1.
void tell(const char* path, int error) {
    static constinit std::atomic<std::size_t> told{0};
    if (error == 0) {
        told = 0;
        return;
    }
    const std::string_view name = path != nullptr ? path : "a program without a name";
    const std::size_t reason = std::hash<std::string_view>{}(name) ^ static_cast<unsigned>(error);
    if (told.exchange(reason) != reason) {
        ::syslog(LOG_ERR, "libkoracore: cannot run %.256s: %s", name.data(), std::strerror(error));
    }
}

int report(const char* path, int result) {
    const int error = result == -1 ? errno : 0;
    tell(path, error);
    if (error != 0) {
        errno = error;
    }
    return result;
}

}  // namespace

// The interface is what its callers are built against: a C-style list.
// NOLINTNEXTLINE(cert-dcl50-cpp)
int VLIBCExecl(const char* path, int options, const char* arg, ...) {
    std::array<const char*, argumentSlots> arguments{path};
    std::size_t count = 1;
    const char* next = arg;
    std::va_list rest;
    va_start(rest, arg);
    while (next != nullptr && count + 1 < arguments.size()) {
        arguments.at(count++) = next;
        next = va_arg(rest, const char*);  // NOLINT(clang-analyzer-valist.Uninitialized)
    }
    va_end(rest);
    if (next != nullptr) {
        errno = E2BIG;
        return report(path, -1);
    }
    const auto word = static_cast<unsigned>(options);
    return report(path, KORA::HA::Daemon::support::runProgram(path, word, arguments.data()));
}
