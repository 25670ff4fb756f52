// SPDX-License-Identifier: Apache-2.0
#include "sound_node.h"

#include <filesystem>

namespace koraha::test {

SoundNode::SoundNode() : root_(scratch_.path("root")) {
    for (const char* directory : {"/tmp/ha", "/var/lib/ha", "/var/log/ha", "/run/koraha"}) {
        std::filesystem::create_directories(path(directory));
        ::chmod(path(directory).c_str(), 0755);
    }
    write("/var/lib/ha/peer.key", "not so secret key of 32 bytes...", 0600);
    write("/var/packages/Twinhold/target/sbin/koraha", "#!/bin/sh\n", 0755);
    write("/usr/sbin/drbdsetup", "#!/bin/sh\n", 0755);
    write("/proc/drbd", "version: 9.2.1 (api:2/proto:86-121)\n");
    write("/proc/net/tcp",
          "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when\n"
          "   0: 0100007F:0277 00000000:0000 0A 00000000:00000000 00:00000000\n"
          "   1: 0200000A:22CD 00000000:0000 0A 00000000:00000000 00:00000000\n");
    write("/proc/4242/status", "Name:\tkoraharemotemon\nCapEff:\t0000000000002000\n");
    write("/proc/4242/limits",
          "Limit                     Soft Limit           Hard Limit           Units\n"
          "Max processes             1                    1                    processes\n"
          "Max locked memory         unlimited            unlimited            bytes\n");
    write("/proc/4242/cmdline", std::string("koraharemotemond\0"
                                            "10.0.0.2\0"
                                            "10.0.0.3\0"
                                            "eth1\0",
                                            40));
    write("/sys/class/net/eth1/operstate", "up\n");
}

std::string SoundNode::write(const std::string& absolute, const std::string& text, mode_t mode) {
    return scratch_.write("root" + absolute, text, mode);
}

void SoundNode::remove(const std::string& absolute) const {
    std::filesystem::remove_all(path(absolute));
}

}  // namespace koraha::test
