// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/buffer_place.h"

namespace KORA::HA::Daemon::support {
namespace {

BufferPlace& place() {
    static auto* const thePlace = new BufferPlace;  // logs are used to the very end
    return *thePlace;
}

}  // namespace

const BufferPlace& bufferPlace() {
    return place();
}
void TEST_setBufferDirectory(const std::string& directory) {
    place().directory = directory;
}

}  // namespace KORA::HA::Daemon::support
