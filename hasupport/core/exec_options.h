// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace KORA::HA::Daemon::support {

/// The bits of VLIBCExecl's option word. Bits 0x04 and 0x40 and everything above 0xff have no
/// meaning; a word that holds one of them, or lacks `wait`, is refused.
enum ExecOption : unsigned {
    execWait = 0x01U,              ///< wait for the program's end
    execOwnGroup = 0x02U,          ///< a process group of its own, so that it can be ended whole
    execDefaultSignals = 0x08U,    ///< every signal at its default action, none blocked
    execNullStreams = 0x10U,       ///< standard input, output and error on /dev/null
    execCloseDescriptors = 0x20U,  ///< nothing inherited above standard error
    execFixedEnvironment = 0x80U,  ///< PATH and LC_ALL only, instead of this process's own
};

inline constexpr unsigned execAllOptions = execWait | execOwnGroup | execDefaultSignals |
                                           execNullStreams | execCloseDescriptors |
                                           execFixedEnvironment;
static_assert(execAllOptions == 187U, "the word that the monitors pass asks for everything");

}  // namespace KORA::HA::Daemon::support
