# SPDX-License-Identifier: MIT
# x86-64 with musl in place of glibc: the nearest thing on Debian to the small C libraries of routers. What builds and runs here
# calls nothing that is glibc's alone.
#
# Debian has no C++ compiler for musl, but its C compiler is the driver of both languages. The endpoint needs none of the C++
# library's code, so the headers of the machine's g++ do; they ask for glibc's version, which is older than any then, and for
# one of its names.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER musl-gcc)
set(CMAKE_CXX_COMPILER musl-gcc)
# Of its own it has neither of these.
foreach(language C CXX)
  set(CMAKE_${language}_COMPILER_AR /usr/bin/gcc-ar CACHE FILEPATH "")
  set(CMAKE_${language}_COMPILER_RANLIB /usr/bin/gcc-ranlib CACHE FILEPATH "")
endforeach()
execute_process(COMMAND g++ -dumpversion OUTPUT_VARIABLE version OUTPUT_STRIP_TRAILING_WHITESPACE)
set(CMAKE_CXX_FLAGS_INIT "-isystem /usr/include/c++/${version} -isystem /usr/include/x86_64-linux-gnu/c++/${version} \
-D'__GLIBC_PREREQ(major,minor)=0' -D__locale_t=locale_t")
