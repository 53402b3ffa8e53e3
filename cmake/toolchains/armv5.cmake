# SPDX-License-Identifier: MIT
# ARMv5TE without a floating-point unit.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CROSS arm-linux-gnueabi)
set(OLD_ROUTER armv5)
set(OLD_ROUTER_FLAGS "-march=armv5te -marm -mfloat-abi=soft")
include(${CMAKE_CURRENT_LIST_DIR}/old-router.cmake)
