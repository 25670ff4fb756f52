// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace KORA::HA::Daemon {

/// True from static initialisation until `main` stops the daemon. Any thread; never blocks.
bool isRunning();

/// Clears the running flag for good, with a sequentially consistent store. Only `main` calls it.
void stopRunning();

/// For tests only, which run more than one life of the daemon in a process.
void TEST_setRunning(bool value);

}  // namespace KORA::HA::Daemon
