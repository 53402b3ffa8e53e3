# x86-64 with musl in place of glibc: the nearest thing on Debian to the small C libraries of routers. What builds and runs here
# calls nothing that is glibc's alone.
#
# Debian has no C++ compiler for musl. The endpoint needs none of the C++ library's code, so the headers of the machine's g++ do;
# they ask for glibc's version, which is older than any then, and for one of its names.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
set(MUSL "-specs /usr/lib/x86_64-linux-musl/musl-gcc.specs")
set(CMAKE_C_FLAGS_INIT ${MUSL})
execute_process(COMMAND g++ -dumpversion OUTPUT_VARIABLE version OUTPUT_STRIP_TRAILING_WHITESPACE)
set(CMAKE_CXX_FLAGS_INIT "${MUSL} -isystem /usr/include/c++/${version} -isystem /usr/include/x86_64-linux-gnu/c++/${version} \
-D'__GLIBC_PREREQ(major,minor)=0' -D__locale_t=locale_t")
