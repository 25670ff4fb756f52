#include "hasupport/exec.h"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstddef>

#include "hasupport/core/run_program.h"

namespace {

// The path, the arguments and the null pointer at their end.
constexpr std::size_t argumentSlots = 66;

}  // namespace

int VLIBCExecl(const char* path, int options, const char* arg, ...) {
    std::array<char*, argumentSlots> arguments{};
    std::size_t count = 0;
    // The program gets copies of the strings; nothing here writes to them.
    arguments[count++] = const_cast<char*>(path);  // NOLINT(cppcoreguidelines-pro-type-const-cast)
    std::va_list rest;
    va_start(rest, arg);
    const char* next = arg;
    for (; next != nullptr && count + 1 < arguments.size(); next = va_arg(rest, const char*)) {
        arguments[count++] =
            const_cast<char*>(next);  // NOLINT(cppcoreguidelines-pro-type-const-cast)
    }
    va_end(rest);
    if (next != nullptr) {
        errno = E2BIG;
        return -1;
    }
    return KORA::HA::Daemon::support::runProgram(path, static_cast<unsigned>(options),
                                                 arguments.data());
}
