// SPDX-License-Identifier: Apache-2.0
#include "tools/watch/last_resort.h"

#include <termios.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <cstring>

namespace korahamonctl::watch {
namespace {

constexpr std::array fatalSignals = {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV};

// Read by the handler. Written while no handler is set.
termios settings;
std::array<char, 256> farewell;
std::size_t farewellLength = 0;

void giveBack(int signal) {
    (void)!::write(STDOUT_FILENO, farewell.data(), farewellLength);
    ::tcsetattr(STDOUT_FILENO, TCSANOW, &settings);
    ::raise(signal);  // its own meaning is set again
}

void setHandlers(void (*handler)(int)) {
    for (const int signal : fatalSignals) {
        struct sigaction action {};
        action.sa_handler = handler;
        action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
        ::sigaction(signal, &action, nullptr);
    }
}

}  // namespace

bool isThere(const char* text) {
    return text != nullptr && reinterpret_cast<std::intptr_t>(text) != -1;
}

void rememberTerminal() {
    ::tcgetattr(STDOUT_FILENO, &settings);
}

void rememberScreen(const char* plain, const char* cursor, const char* keys, const char* leave) {
    farewellLength = 0;
    for (const char* text : {plain, cursor, keys, leave}) {
        const std::size_t length = isThere(text) ? std::strlen(text) : 0;
        if (length > 0 && length <= farewell.size() - farewellLength) {
            std::memcpy(farewell.data() + farewellLength, text, length);
            farewellLength += length;
        }
    }
    setHandlers(giveBack);
}

void forgetTerminal() {
    setHandlers(SIG_DFL);
}

}  // namespace korahamonctl::watch
