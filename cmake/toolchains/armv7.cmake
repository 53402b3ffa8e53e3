# SPDX-License-Identifier: MIT
# ARMv7-A.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CROSS arm-linux-gnueabihf)
set(OLD_ROUTER armv7)
set(OLD_ROUTER_FLAGS "-march=armv7-a -mfpu=vfpv3-d16")
include(${CMAKE_CURRENT_LIST_DIR}/old-router.cmake)
