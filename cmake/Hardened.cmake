# SPDX-License-Identifier: MIT
# The hardened build: the same requests, replies and store, other insides. Each option takes sources out of the program and
# puts those of the same path below hardened/ in their place; all are on in the preset "hardened". docs/architecture.md
# says what each is for.

# harden(OPTION MEANING SOURCE...): declares an option; where it is on, the sources' twins stand in ENDPOINT_SOURCES.
macro(harden option meaning)
  option(${option} "${meaning}" OFF)
  if(${option})
    foreach(source ${ARGN})
      list(REMOVE_ITEM ENDPOINT_SOURCES ${CMAKE_SOURCE_DIR}/${source})
      list(APPEND ENDPOINT_SOURCES ${CMAKE_SOURCE_DIR}/hardened/${source})
    endforeach()
  endif()
endmacro()

harden(HARDEN_SESSIONS "Session ids that nobody guesses, of one client and for a time; growing refusal of wrong logins"
       login/session_id.cpp login/session.cpp login/attempts.cpp)
harden(HARDEN_ADDRESSES "A client of IPv4 is the same when the web server tells its address in the form of IPv6" gateway/remote_address.cpp)
harden(HARDEN_SHELL "No shell: programs are run directly, and what the kernel knows is asked of it" programs/programs.cpp)
harden(HARDEN_BACKHAUL "Credentials of the mesh backhaul from the kernel's random source" mesh/backhaul_draw.cpp)
harden(HARDEN_LOGS "Passwords and session ids in no log; the console is neither made nor emptied" base/secret.cpp base/console.cpp)
harden(HARDEN_FILES "Pipes, devices, and in /tmp links and strangers' files are not read" base/open.cpp)
harden(HARDEN_WAITS "A full queue is waited for two seconds, a body for twenty; it has 1 MiB at most, a process 64 MiB"
       gateway/handler/queue.cpp gateway/limits.cpp)
harden(HARDEN_UTF8 "Every reply is valid UTF-8" gateway/handler/reply_bytes.cpp)
harden(HARDEN_SECCOMP "Only the system calls of cmake/system_calls.conf, where the kernel has filters" gateway/confinement.cpp)
if(HARDEN_SECCOMP)
  include(cmake/SystemCalls.cmake)
  set_source_files_properties(hardened/gateway/confinement.cpp PROPERTIES COMPILE_DEFINITIONS SYSTEM_CALLS_ARCH=${SYSTEM_CALLS_ARCH}
                              INCLUDE_DIRECTORIES ${CMAKE_BINARY_DIR}/generated)
endif()

set(HARDEN_SESSION_IDLE 43200 CACHE STRING "Seconds after its last use at which a session ends (HARDEN_SESSIONS)")
set(HARDEN_SESSION_AGE 604800 CACHE STRING "Seconds after its login at which a session ends (HARDEN_SESSIONS)")
set_source_files_properties(hardened/login/session.cpp PROPERTIES COMPILE_DEFINITIONS
                            "SESSION_IDLE=${HARDEN_SESSION_IDLE};SESSION_AGE=${HARDEN_SESSION_AGE}")
