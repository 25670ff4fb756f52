#pragma once

#include <atomic>
#include <string>

namespace KORA::HA::Daemon::support {

struct RestartVerdict {
    bool accepted = false;
    std::string reason;  ///< why not
};

/// The peer asks for this node's restart: refused within 10 minutes of the last one obeyed, and
/// while this node itself asks for the peer's. Else the forced restart is armed, the reason left
/// where it lasts, and the orderly restart started. Returns at once.
RestartVerdict obeyRestart(const std::string& why);

/// True while this node asks its peer to restart, so that two requests that cross cancel out.
class AskingForRestart {
  public:
    AskingForRestart() { ++asking(); }
    ~AskingForRestart() { --asking(); }
    AskingForRestart(const AskingForRestart&) = delete;
    AskingForRestart& operator=(const AskingForRestart&) = delete;

    static bool now() { return asking() > 0; }

  private:
    static std::atomic<int>& asking();
};

}  // namespace KORA::HA::Daemon::support
