// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "hasupport/io/deadline.h"
#include "hasupport/io/kernel_roots.h"
#include "hasupport/kernel/disk_state.h"

namespace KORA::HA::Daemon::support {

/// The disks under error handling, by name, in order.
struct DiskErrLook {
    bool known = false;
    std::string reason;  ///< why it is not known
    std::vector<std::string> disks;
};

/// Tells which watched disks are under error handling, or were since the last look. Compares with
/// the counters of the last look, so keep one for the life of the process. Not synchronised.
class DiskErrWatch {
  public:
    /// How long after a time-out was seen a recovery of the host is still its work. The kernel
    /// first tries to abort the command while the host runs on, which takes an adapter up to 30 s,
    /// and has the aborts wait for one another.
    static constexpr std::chrono::seconds recoveryFollowsWithin{120};

    /// `named`: disks to watch besides those under volumes.
    DiskErrWatch(KernelRoots roots, std::vector<std::string> named);

    /// Looks, and remembers the counters for the next look.
    DiskErrLook look(SteadyClock::time_point now = SteadyClock::now());
    /// The same without remembering: what the next look would find.
    DiskErrLook peek(SteadyClock::time_point now = SteadyClock::now()) const;

  private:
    struct Memory {
        std::string device;
        std::optional<std::uint32_t> timeouts;
        std::optional<std::uint32_t> errors;
        std::optional<SteadyClock::time_point> timedOutAt;  ///< when that counter last grew
        bool suspect = false;  ///< one of its commands brought its host into recovery
    };
    using Memories = std::map<std::string, Memory>;

    DiskErrLook evaluate(SteadyClock::time_point now, Memories& after) const;
    static bool judge(const DiskState& disk, const Memory* before, SteadyClock::time_point now,
                      Memory& after);

    const KernelRoots roots_;
    const std::vector<std::string> named_;
    Memories memories_;
};

}  // namespace KORA::HA::Daemon::support
