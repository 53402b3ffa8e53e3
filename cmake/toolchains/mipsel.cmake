# SPDX-License-Identifier: MIT
# MIPS, 32-bit, little-endian: the usual router.
set(CMAKE_SYSTEM_PROCESSOR mipsel)
set(CROSS mipsel-linux-gnu)
# The ABI aligns segments for pages of up to 64 KiB, which fills the file with zeros; kernels of routers have pages of 4 KiB.
# The assembler warns of the compiler's own prologue in functions with large frames; under link-time optimisation it runs here.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-z,max-page-size=4096 -Wa,--no-warn")
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
