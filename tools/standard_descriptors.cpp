// SPDX-License-Identifier: Apache-2.0
#include "tools/standard_descriptors.h"

#include <fcntl.h>
#include <unistd.h>

namespace korahamonctl {

void fillStandardDescriptors() {
    int fd = 0;
    do {
        fd = ::open("/dev/null", O_RDONLY);  // NOLINT: what it is run with inherits this one
    } while (fd >= 0 && fd <= STDERR_FILENO);
    ::close(fd);
}

}  // namespace korahamonctl
