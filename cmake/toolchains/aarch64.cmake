# SPDX-License-Identifier: MIT
# ARM, 64-bit, little-endian.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CROSS aarch64-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
