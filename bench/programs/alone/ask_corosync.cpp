// SPDX-License-Identifier: Apache-2.0
// Asks corosync for one key, by a fresh connection each time, and tells how long that takes. Its
// library is found at run time: only this program needs it.
//
//   ask_corosync COUNT
#include <dlfcn.h>

#include <cstdint>

#include "bench/programs/measured.h"

namespace {

constexpr int fine = 1;

template <typename Function>
Function find(void* library, const char* name) {
    void* const found = ::dlsym(library, name);
    bench::need(found != nullptr, name);
    return reinterpret_cast<Function>(found);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "Usage: ask_corosync COUNT\n");
        return 2;
    }
    void* const library = ::dlopen("libcmap.so.4", RTLD_NOW);
    bench::need(library != nullptr, "libcmap.so.4");
    const auto open = find<int (*)(std::uint64_t*)>(library, "cmap_initialize");
    const auto get = find<int (*)(std::uint64_t, const char*, char**)>(library, "cmap_get_string");
    const auto close = find<int (*)(std::uint64_t)>(library, "cmap_finalize");
    const int count = bench::number(argv[1]);
    bench::Times times(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        const auto start = std::chrono::steady_clock::now();
        std::uint64_t handle = 0;
        char* value = nullptr;
        bench::need(open(&handle) == fine, "cmap_initialize");
        bench::need(get(handle, "totem.cluster_name", &value) == fine, "cmap_get_string");
        close(handle);
        times.add(std::chrono::steady_clock::now() - start);
        std::free(value);
    }
    times.print();
    return 0;
}
