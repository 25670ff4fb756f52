// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace KORA::HA::Daemon::support {

/// The moment of a restart, asked for or obeyed, as it stands on disk.
struct RestartStamp {
    std::string bootId;
    std::int64_t bootSeconds = 0;
    std::int64_t wallSeconds = 0;
    std::string reason;
    std::string outcome;
    std::int64_t leftSeconds = 0;  ///< wall time; 0: not yet
    std::int64_t backSeconds = 0;

    /// A stamp of now.
    static RestartStamp now(std::string reason, std::string outcome);

    /// How long ago it was: by the boot clock within the same boot, whatever the wall clock does
    /// meanwhile. Else by the wall clock, and by this boot's own length where that was set back.
    std::chrono::seconds age() const;
};

/// The stamp as a file holds it, and back; nothing when the text is cut off or damaged. Texts of
/// any kind become one printable line, and times stay within what every clock can count with.
std::string stampText(const RestartStamp& stamp);
std::optional<RestartStamp> parseStamp(std::string_view text);

/// What stands at `path`. `unreadable`: something does, but nobody can tell what.
struct StampFile {
    std::optional<RestartStamp> stamp;
    bool unreadable = false;
};
StampFile readStamp(const std::string& path);

/// Replaces the file at once and as a whole, and has it on the disk when it returns true. Else the
/// file may be there all the same: see `withdrawStamp`.
bool writeStamp(const std::string& path, const RestartStamp& stamp);

/// Takes back a stamp that `writeStamp` could not write for sure; an older one stays.
void withdrawStamp(const std::string& path, const RestartStamp& stamp);

/// Takes a stamp back; false when it stays.
bool removeStamp(const std::string& path);

/// Where the two stamps lie: of the restart that this node asked for, and that it obeyed.
std::string askedStampPath();
std::string obeyedStampPath();

}  // namespace KORA::HA::Daemon::support
