# SPDX-License-Identifier: Apache-2.0
# find_package(koraha) gives koraha::korahadaemon and koraha::koracore.
include(CMakeFindDependencyMacro)
find_dependency(PkgConfig)
pkg_check_modules(jsoncpp REQUIRED IMPORTED_TARGET jsoncpp)
include(${CMAKE_CURRENT_LIST_DIR}/koraha-targets.cmake)
