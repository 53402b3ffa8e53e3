# SPDX-License-Identifier: MIT
# Debian's cross compilers, for the files beside this one: CROSS is the target's name in those of the tools.
#
# CROSS_COMPILER is gcc, or clang, which takes headers, libc and linker of the cross gcc.
set(CMAKE_SYSTEM_NAME Linux)

set(CROSS_COMPILER gcc CACHE STRING "gcc or clang")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES CROSS_COMPILER)
if(CROSS_COMPILER STREQUAL "clang")
  set(CMAKE_C_COMPILER clang-14)
  set(CMAKE_CXX_COMPILER clang++-14)
  set(CMAKE_C_COMPILER_TARGET ${CROSS})
  set(CMAKE_CXX_COMPILER_TARGET ${CROSS})
else()
  set(CMAKE_C_COMPILER ${CROSS}-gcc)
  set(CMAKE_CXX_COMPILER ${CROSS}-g++)
endif()

# Programs are the build machine's, everything else is the target's.
set(CMAKE_FIND_ROOT_PATH /usr/${CROSS})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
