# SPDX-License-Identifier: MIT
# The options of platform/product.h: for each of its lines a cache variable with the text of that line as its default.
# Sets PRODUCT_DEFINITIONS to those that were given another.
#
# The texts get into JSON, shell commands and formats of scanf() as they are, so they hold no character that means
# something there.
file(STRINGS ${CMAKE_SOURCE_DIR}/platform/product.h lines REGEX "^#define PRODUCT_")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/platform/product.h)
foreach(line IN LISTS lines)
  if(NOT line MATCHES "^#define (PRODUCT_[A-Z_]+) \"([^\"]+)\"  // (.+)$")
    message(FATAL_ERROR "platform/product.h: no '#define NAME \"text\"  // meaning': ${line}")
  endif()
  set(name ${CMAKE_MATCH_1})
  set(default "${CMAKE_MATCH_2}")
  set(${name} "${default}" CACHE STRING "${CMAKE_MATCH_3}")
  if(default MATCHES "^/")
    set(form "/[A-Za-z0-9._/-]+")
    set(longest 100)
  elseif(name MATCHES "_INTERFACE$")
    set(form "[A-Za-z0-9._-]+")
    set(longest 15)
  else()
    set(form "[A-Za-z0-9._,:/()+@ -]+")
    set(longest 30)  # of an account; and no name of a product should be longer
  endif()
  string(LENGTH "${${name}}" length)
  if(NOT "${${name}}" MATCHES "^${form}$" OR length GREATER longest)
    message(FATAL_ERROR "${name} is '${${name}}': it must match ${form} and have at most ${longest} characters")
  endif()
  if(NOT "${${name}}" STREQUAL default)
    list(APPEND PRODUCT_DEFINITIONS "${name}=\"${${name}}\"")
  endif()
endforeach()
