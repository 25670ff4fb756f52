// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "hasupport/io/unique_fd.h"

namespace KORA::HA::Daemon::support {

/// Where the buffers of logs lie: memory that outlives a process, and a directory of root's.
struct BufferPlace {
    std::string directory = "/run/koraha";
    bool make = true;  ///< make what is missing
};

/// Why a buffer cannot be had.
struct BufferTrouble {
    std::string text;     ///< empty when there is no trouble
    bool busy = false;    ///< another process (or object) holds it
    bool absent = false;  ///< there is none, and none was to be made
};

/// A buffer's file, held by the lock of its descriptor.
struct BufferFile {
    UniqueFd fd;  ///< none when there is trouble
    BufferTrouble trouble;
};

/// The name of the buffer of the log at `path`; different logs have different ones.
std::string bufferName(const std::string& path);

/// Opens and locks a buffer: a regular file with one name, of this user's and closed to others, in
/// a directory that only this user can write to; never through a link. Waits for nobody.
BufferFile openBufferFile(const BufferPlace& place, const std::string& name);

/// Removes a locked buffer.
void removeBuffer(const BufferPlace& place, const std::string& name);

/// Gives a locked buffer another name, so that what it holds stays there. False when it could not.
bool setBufferAside(const BufferPlace& place, const std::string& name, unsigned version);

}  // namespace KORA::HA::Daemon::support
