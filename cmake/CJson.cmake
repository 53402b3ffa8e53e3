# SPDX-License-Identifier: MIT
# Where cJSON comes from. Sets CJSON_INCLUDE_DIR and CJSON_LIBRARY.
#
#   system   the library that the compiler finds; it must be on the device, too
#   shared   the same for a compiler that finds none: built from the distribution's source to link against, not installed
#   static   built from the distribution's source and linked into the program
set(CJSON "system" CACHE STRING "Where cJSON comes from: system, shared or static")
set_property(CACHE CJSON PROPERTY STRINGS system shared static)

if(CJSON STREQUAL "system")
  find_path(CJSON_INCLUDE_DIR cjson/cJSON.h REQUIRED)
  find_library(CJSON_LIBRARY cjson REQUIRED)
elseif(CJSON MATCHES "^(shared|static)$")
  enable_language(C)
  execute_process(COMMAND ${CMAKE_SOURCE_DIR}/script/library-source cjson OUTPUT_VARIABLE CJSON_INCLUDE_DIR
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(CJSON_LIBRARY cjson)
  string(TOUPPER ${CJSON} type)
  add_library(cjson ${type} ${CJSON_INCLUDE_DIR}/cjson/cJSON.c)
  target_harden_foreign(cjson)
  if(CJSON STREQUAL "shared")
    set_target_properties(cjson PROPERTIES SOVERSION 1)
  else()
    # No other library may bind to the program's copy.
    target_compile_options(cjson PRIVATE -fvisibility=hidden)
  endif()
else()
  message(FATAL_ERROR "CJSON is system, shared or static, not '${CJSON}'")
endif()
