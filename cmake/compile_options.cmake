# SPDX-License-Identifier: Apache-2.0
# One interface target carries what every translation unit is compiled with.
find_program(KORAHA_CCACHE ccache)
if(KORAHA_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${KORAHA_CCACHE})
endif()

add_library(koraha_options INTERFACE)
target_include_directories(koraha_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(koraha_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
    -fvisibility=hidden -fvisibility-inlines-hidden)
target_compile_definitions(koraha_options INTERFACE KORAHA_VERSION="${PROJECT_VERSION}")

if(KORAHA_SANITIZE)
    target_compile_options(koraha_options INTERFACE
        -fsanitize=${KORAHA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(koraha_options INTERFACE -fsanitize=${KORAHA_SANITIZE})
    # Instrumented frames are several times as large as the ones that ship.
    target_compile_definitions(koraha_options INTERFACE KORAHA_ROUTINE_STACK_BYTES=1048576)
else()
    # The distribution's hardening flags, and a frame limit that keeps the 80 KiB stacks honest.
    target_compile_options(koraha_options INTERFACE
        -fstack-protector-strong -fstack-clash-protection -fcf-protection
        -Wframe-larger-than=20480)
    if(CMAKE_BUILD_TYPE MATCHES "Rel")
        target_compile_definitions(koraha_options INTERFACE _FORTIFY_SOURCE=2)
    endif()
    target_link_options(koraha_options INTERFACE LINKER:-z,relro LINKER:-z,now)
endif()
