#pragma once

#include <functional>
#include <string>

namespace koraha::test {

/// Runs `body` in a child process with a network of its own (lo is up, nothing else is there); as
/// an ordinary user in a user namespace of its own too. Failed expectations inside count here; so
/// does a system that does not allow the namespaces.
void inOwnNetwork(const std::function<void()>& body);

/// Runs a command line that must succeed, such as "ip link add ...".
void command(const std::string& line);

}  // namespace koraha::test
