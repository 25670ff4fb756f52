// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace korahamonctl::watch {

// Gives the terminal back also where the process ends by a fault of its own, such as a segmentation
// fault, which runs no destructor.

/// Remembers how the terminal is set now. Call it before it is taken over.
void rememberTerminal();

/// Whether a terminal's description has this text: nothing or -1 stands where it has none.
bool isThere(const char* text);

/// What to send, each a text that the terminal's description has and
/// from now on a fatal signal sends them and sets the terminal as it was.
void rememberScreen(const char* plain, const char* cursor, const char* keys, const char* leave);

/// The terminal has been given back.
void forgetTerminal();

}  // namespace korahamonctl::watch
