// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <string>

namespace KORA::HA::Daemon::support {

struct RestartVerdict {
    bool accepted = false;
    std::string reason;  ///< why not
    /// This node would restart but cannot: whoever asks may use other means. A node that is able
    /// but has a reason to refuse is not to be forced.
    bool unable = false;
};

/// The peer asks for this node's restart: refused within 10 minutes of the last one obeyed, and
/// while this node itself asks for the peer's, or when a disk took so long to tell which that the
/// peer no longer waits. Else the forced restart is armed, the reason left where it lasts, and the
/// orderly restart started. Blocks for as long as the disk takes that the stamp is read from and
/// synced to; when it is synced, the restart is armed already. Any thread; one at a time decides.
RestartVerdict obeyRestart(const std::string& why);

/// Writes the daemon log to disk if `obeyRestart` has put something there. To be called once the
/// peer has its answer: it has a second to wait for that, and the log's disk may be what hangs.
void keepRestartInLog();

/// True from the moment that this node obeyed in this boot, for 10 minutes: it is on its way down,
/// and must not take its peer with it. True also when the stamp is there and cannot be read: then
/// nobody knows. Reads one small file.
bool isAboutToRestart();

/// True while this node asks its peer to restart, so that two requests that cross cancel out. Once
/// it is made, the peer's requests are refused; one obeyed before shows in `isAboutToRestart`.
class AskingForRestart {
  public:
    AskingForRestart();
    ~AskingForRestart() { --asking(); }
    AskingForRestart(const AskingForRestart&) = delete;
    AskingForRestart& operator=(const AskingForRestart&) = delete;

    static bool now() { return asking() > 0; }

  private:
    static std::atomic<int>& asking();
};

}  // namespace KORA::HA::Daemon::support
