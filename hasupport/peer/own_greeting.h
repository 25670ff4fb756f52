// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/peer/frame.h"

namespace KORA::HA::Daemon::support {

/// A greeting of this process, known as its own while it lives. Both nodes hold the same key, so an
/// exchange that someone on the link leads back to its sender would prove itself there: this node
/// would take its own state for its peer's. Any thread.
class OwnGreeting {
  public:
    explicit OwnGreeting(const Nonce& nonce);
    ~OwnGreeting();
    OwnGreeting(const OwnGreeting&) = delete;
    OwnGreeting& operator=(const OwnGreeting&) = delete;

    /// True when a greeting with this nonce is on its way from this process.
    static bool has(const Nonce& nonce);

  private:
    const Nonce nonce_;
};

}  // namespace KORA::HA::Daemon::support
