# SPDX-License-Identifier: MIT
# Compiler and linker flags: the OpenSSF compiler options hardening guide for C and C++, as far as gcc 12 and clang 14
# know them, and every warning that says something about this code.
#
# Left out, with the reason:
#   -fexceptions                 the endpoint is built without exceptions: their tables and libgcc_s cost every request
#   -fstrict-flex-arrays=3       not known before gcc 13 and clang 16
#   -fhardened                   not known before gcc 14; its parts are listed here
#   -fzero-init-padding-bits=all not known before gcc 15
#   -Werror=implicit, -Werror=incompatible-pointer-types, -Werror=int-conversion
#                                C only; in C++ these are errors anyway
#   -mbranch-protection=standard aarch64 only, set there
#   -Wtrampolines, -Wbidi-chars=any
#                                gcc only, set there; clang makes no trampolines and has no such warning
#   -D_GLIBCXX_ASSERTIONS        only in the programs that link libstdc++: the failed assertion calls into it, and the
#                                endpoint must not need it at run time
#   -Wl,-z,nodlopen on programs  it marks libraries; the linker ignores it for a program

include(CheckCXXCompilerFlag)

set(HARDEN_WARN
    -Wall -Wextra -Wpedantic -Wformat -Wformat=2 -Wconversion -Wsign-conversion -Wimplicit-fallthrough -Wshadow
    -Wcast-align -Wcast-qual -Wundef -Wvla -Wnull-dereference -Wdouble-promotion -Wmissing-declarations
    -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wzero-as-null-pointer-constant)
# What changes the code, for C as well.
set(HARDEN_CODE
    -fstack-protector-strong
    -fno-delete-null-pointer-checks -fno-strict-overflow -fno-strict-aliasing -ftrivial-auto-var-init=zero)
set(HARDEN_LINK -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,--as-needed -Wl,--no-copy-dt-needed-entries)

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  list(APPEND HARDEN_CODE -fstack-clash-protection)
  list(APPEND HARDEN_WARN -Wtrampolines -Wbidi-chars=any -Wduplicated-cond -Wduplicated-branches -Wlogical-op
       -Wuseless-cast -Wstrict-null-sentinel)
elseif(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  # clang 14 knows it for some processors only.
  check_cxx_compiler_flag("-Werror -fstack-clash-protection" HAVE_STACK_CLASH_PROTECTION)
  if(HAVE_STACK_CLASH_PROTECTION)
    list(APPEND HARDEN_CODE -fstack-clash-protection)
  endif()
  # clang 14 initialises automatic variables to zero only when told that the flag may go away one day.
  list(APPEND HARDEN_CODE -enable-trivial-auto-var-init-zero-knowing-it-will-be-removed-from-clang)
endif()
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|i[3-6]86")
  list(APPEND HARDEN_CODE -fcf-protection=full)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64")
  list(APPEND HARDEN_CODE -mbranch-protection=standard)
endif()
if(SANITIZE)
  # The sanitizers check more than fortified calls do, and the two get in each other's way.
  list(APPEND HARDEN_CODE -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  # The sanitizers are in the program, which hands them to its libraries. As libraries themselves, their loading would
  # take a third of a test case's time.
  set(HARDEN_LINK_PROGRAM -fsanitize=address,undefined -rdynamic)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    list(APPEND HARDEN_LINK_PROGRAM -static-libasan -static-libubsan)
  endif()
else()
  list(APPEND HARDEN_CODE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
endif()

set(HARDEN_COMPILE ${HARDEN_WARN} ${HARDEN_CODE})

set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O1 -g")
set(CMAKE_CXX_FLAGS_MINSIZEREL "-Os -DNDEBUG")
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # All of them make the code of MIPS larger, by 1 % each.
  string(APPEND CMAKE_CXX_FLAGS_MINSIZEREL " -fno-gcse -fno-optimize-sibling-calls -fno-move-loop-invariants")
endif()
set(CMAKE_C_FLAGS_MINSIZEREL ${CMAKE_CXX_FLAGS_MINSIZEREL})
set(CMAKE_C_FLAGS_RELEASE ${CMAKE_CXX_FLAGS_RELEASE})
set(CMAKE_C_FLAGS_RELWITHDEBINFO ${CMAKE_CXX_FLAGS_RELWITHDEBINFO})

function(target_harden_common target)
  get_target_property(type ${target} TYPE)
  target_compile_options(${target} PRIVATE ${HARDEN_COMPILE} $<IF:$<STREQUAL:${type},SHARED_LIBRARY>,-fPIC,-fPIE>)
  target_link_options(${target} PRIVATE ${HARDEN_LINK})
  if(type STREQUAL "EXECUTABLE")
    target_link_options(${target} PRIVATE -pie ${HARDEN_LINK_PROGRAM})
  endif()
endfunction()

# The device part: no exceptions, no run-time type information, nothing of libstdc++ at run time.
function(target_harden_endpoint target)
  target_harden_common(${target})
  target_compile_options(${target} PRIVATE -fno-exceptions -fno-rtti -fno-asynchronous-unwind-tables
                         -ffunction-sections -fdata-sections -fvisibility=hidden)
  # 32-bit processors need arithmetic of libgcc; a device may lack the shared library.
  target_link_options(${target} PRIVATE -static-libgcc)
  # libc is named first: nearly every symbol is found there, and the loader asks the libraries in their order. That saves a
  # request some 19,000 instructions.
  target_link_options(${target} PRIVATE -Wl,--gc-sections -Wl,--push-state,--no-as-needed,-lc,--pop-state)
endfunction()

# Other people's C: built as hardened as ours, its warnings are theirs.
function(target_harden_foreign target)
  get_target_property(type ${target} TYPE)
  target_compile_options(${target} PRIVATE -w ${HARDEN_CODE} -ffunction-sections -fdata-sections
                         -fno-asynchronous-unwind-tables $<IF:$<STREQUAL:${type},SHARED_LIBRARY>,-fPIC,-fPIE>)
  target_link_options(${target} PRIVATE ${HARDEN_LINK})
endfunction()

# Tools of the PC side: ordinary C++ with its library.
function(target_harden_tool target)
  target_harden_common(${target})
  if(NOT SANITIZE)
    target_compile_options(${target} PRIVATE -D_GLIBCXX_ASSERTIONS)
  endif()
endfunction()
