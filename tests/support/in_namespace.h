// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

namespace koraha::test {

/// Runs `body` in a child process with a network of its own (lo is up, nothing else is there); as
/// an ordinary user in a user namespace of its own too. Failed expectations inside count here; so
/// does a system that does not allow the namespaces.
void inOwnNetwork(const std::function<void()>& body);

/// The same with mounts of its own instead of a network.
void inOwnMounts(const std::function<void()>& body);

/// The same with mounts of its own and an empty /run, where sockets are locked and buffers lie.
void inOwnRun(const std::function<void()>& body);

/// Runs a command line that must succeed, such as "ip link add ...".
void command(const std::string& line);

/// Takes CAP_NET_RAW from this thread. For use inside inOwnNetwork.
void giveUpRawSockets();

/// Leaves this thread no capability but those that the daemon's unit grants.
void keepCapabilitiesOfTheUnit();

/// Runs `body` on a thread with the stack that the daemon's routines have.
void onRoutineStack(const std::function<void()>& body);

}  // namespace koraha::test
