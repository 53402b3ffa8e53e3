# SPDX-License-Identifier: MIT
# MIPS 24Kc, big-endian, without a floating-point unit.
set(CMAKE_SYSTEM_PROCESSOR mips)
set(CROSS mips-linux-gnu)
set(OLD_ROUTER mips-24kc)
set(OLD_ROUTER_FLAGS "-march=24kc -msoft-float")
# Kernels of routers have pages of 4 KiB; see mipsel.cmake.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-z,max-page-size=4096 -Wa,--no-warn")
include(${CMAKE_CURRENT_LIST_DIR}/old-router.cmake)
