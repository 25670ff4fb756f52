// SPDX-License-Identifier: Apache-2.0
// So many processes that wait, until this one is ended.
//
//   many_processes COUNT READY_FILE
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>

#include "bench/programs/measured.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "Usage: many_processes COUNT READY_FILE\n");
        return 2;
    }
    for (int i = 0; i < bench::number(argv[1]); ++i) {
        const pid_t child = ::fork();
        bench::need(child >= 0, "fork");
        if (child == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            for (;;) {
                ::pause();
            }
        }
    }
    std::fclose(std::fopen(argv[2], "w"));
    for (;;) {
        ::pause();
    }
}
