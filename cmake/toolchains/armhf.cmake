# SPDX-License-Identifier: MIT
# ARM, 32-bit, little-endian, with floating-point unit.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CROSS arm-linux-gnueabihf)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
