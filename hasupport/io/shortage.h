// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>

namespace KORA::HA::Daemon::support {

/// Whether this errno says that descriptors or memory are exhausted, and nothing about what was
/// asked for.
constexpr bool isShortage(int error) {
    return error == EMFILE || error == ENFILE || error == ENOMEM || error == ENOBUFS;
}

}  // namespace KORA::HA::Daemon::support
