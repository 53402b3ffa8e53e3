# SPDX-License-Identifier: MIT
# Processors of old routers with musl (script/musl-toolchain), for the files beside this one: OLD_ROUTER is the target's name there,
# CROSS that of Debian's cross gcc, OLD_ROUTER_FLAGS what tells it the processor.
#
# The endpoint needs none of the C++ library's code, so the headers of the cross g++ do; they ask for glibc's version, which is
# older than any then, and for one of its names.
set(CMAKE_SYSTEM_NAME Linux)
if(NOT DEFINED MUSL_FOLDER)
  execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../../script/musl-toolchain ${OLD_ROUTER} OUTPUT_VARIABLE MUSL_FOLDER
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(MUSL_FOLDER "${MUSL_FOLDER}" CACHE PATH "The C library")
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES MUSL_FOLDER)

set(CMAKE_C_COMPILER ${CROSS}-gcc)
set(CMAKE_CXX_COMPILER ${CROSS}-gcc)
# Of a C++ compiler with this name CMake does not guess whose tools are its own.
set(CMAKE_STRIP /usr/bin/${CROSS}-strip CACHE FILEPATH "")
foreach(language C CXX)
  set(CMAKE_${language}_COMPILER_AR /usr/bin/${CROSS}-gcc-ar CACHE FILEPATH "")
  set(CMAKE_${language}_COMPILER_RANLIB /usr/bin/${CROSS}-gcc-ranlib CACHE FILEPATH "")
endforeach()
set(CMAKE_STRIP /usr/bin/${CROSS}-strip CACHE FILEPATH "") # by a C++ compiler of this name CMake does not find it
execute_process(COMMAND ${CROSS}-gcc -dumpversion OUTPUT_VARIABLE version OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND ${CROSS}-gcc -print-file-name=include OUTPUT_VARIABLE own_headers OUTPUT_STRIP_TRAILING_WHITESPACE)
set(CMAKE_C_FLAGS_INIT "${OLD_ROUTER_FLAGS} @${MUSL_FOLDER}/gcc-options")
set(CMAKE_CXX_FLAGS_INIT "${OLD_ROUTER_FLAGS} @${MUSL_FOLDER}/gcc-options -nostdinc -isystem /usr/${CROSS}/include/c++/${version} \
-isystem /usr/${CROSS}/include/c++/${version}/${CROSS} -isystem ${MUSL_FOLDER}/include -isystem ${own_headers} \
-D'__GLIBC_PREREQ(major,minor)=0' -D__locale_t=locale_t")

set(CMAKE_FIND_ROOT_PATH ${MUSL_FOLDER})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
