# SPDX-License-Identifier: MIT
# MIPS 24Kc, little-endian, without a floating-point unit: the processor of a decade of routers.
set(CMAKE_SYSTEM_PROCESSOR mipsel)
set(CROSS mipsel-linux-gnu)
set(OLD_ROUTER mipsel-24kc)
set(OLD_ROUTER_FLAGS "-march=24kc -msoft-float")
# Kernels of routers have pages of 4 KiB; see mipsel.cmake.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-z,max-page-size=4096 -Wa,--no-warn")
include(${CMAKE_CURRENT_LIST_DIR}/old-router.cmake)
