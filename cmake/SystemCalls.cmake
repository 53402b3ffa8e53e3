# SPDX-License-Identifier: MIT
# What the filter of HARDEN_SECCOMP lets pass, by the numbers of the processor that is built for: system_calls.inc, a
# "SYS_name," each, out of cmake/system_calls.conf, and system_calls_of_programs.inc, those of its lines that are marked
# with a "+". SYSTEM_CALLS_ARCH is the processor's name in <linux/audit.h>.
#
# A row: the processor, that name, and the calls by which its programs get their thread's storage or new code seen before
# they begin. Without one of these each program that is started would end at once; where the headers do not have it, under
# whatever name, there is no build. ARM's own calls go through the filter like all others, and their names are __ARM_NR_...;
# those with times of 32 bits, which older programs make, musl calls ...32 or ..._time32.
set(SYSTEM_CALLS_ARCHS
    "x86_64|AMD64=AUDIT_ARCH_X86_64=arch_prctl" "i[3-6]86=AUDIT_ARCH_I386=set_thread_area"
    "mipsel=AUDIT_ARCH_MIPSEL=set_thread_area cacheflush" "mips=AUDIT_ARCH_MIPS=set_thread_area cacheflush"
    "aarch64=AUDIT_ARCH_AARCH64=" "arm.*=AUDIT_ARCH_ARM=set_tls cacheflush")
set(required "")
foreach(row ${SYSTEM_CALLS_ARCHS})
  string(REGEX MATCH "^(.*)=(.*)=(.*)$" row ${row})
  set(arch ${CMAKE_MATCH_2})
  set(calls "${CMAKE_MATCH_3}")
  if(NOT SYSTEM_CALLS_ARCH AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(${CMAKE_MATCH_1})$")
    set(SYSTEM_CALLS_ARCH ${arch})
    string(REPLACE " " ";" required "${calls}")
  endif()
endforeach()
if(NOT SYSTEM_CALLS_ARCH)
  message(FATAL_ERROR "HARDEN_SECCOMP knows no processor '${CMAKE_SYSTEM_PROCESSOR}': cmake/SystemCalls.cmake")
endif()

file(WRITE ${CMAKE_BINARY_DIR}/system_calls.cpp "#include <sys/syscall.h>\n")
separate_arguments(options UNIX_COMMAND "${CMAKE_CXX_FLAGS}")
if(CMAKE_CXX_COMPILER_TARGET)
  list(APPEND options --target=${CMAKE_CXX_COMPILER_TARGET})
endif()
execute_process(COMMAND ${CMAKE_CXX_COMPILER} ${options} -E -dM ${CMAKE_BINARY_DIR}/system_calls.cpp OUTPUT_VARIABLE known
                COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "#define (SYS_|__ARM_NR_)[a-z0-9_]+" known "${known}")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/cmake/system_calls.conf)
file(STRINGS ${CMAKE_SOURCE_DIR}/cmake/system_calls.conf lines REGEX "^[a-z]")
set(passing "")
set(of_programs "")
foreach(line ${lines})
  string(REGEX MATCH "^[a-z]+(\\+?) +(.*)$" line ${line})
  set(mark "${CMAKE_MATCH_1}")
  string(REPLACE " " ";" names ${CMAKE_MATCH_2})
  foreach(name ${names})
    foreach(call SYS_${name} SYS_${name}32 SYS_${name}_time32 __ARM_NR_${name})
      if("#define ${call}" IN_LIST known)
        list(APPEND passing ${call})
        if(mark)
          list(APPEND of_programs ${call})
        endif()
        list(REMOVE_ITEM required ${name})
      endif()
    endforeach()
  endforeach()
endforeach()
if(required)
  message(FATAL_ERROR "HARDEN_SECCOMP: no program could be started, since the compiler's headers, or cmake/system_calls.conf, lack: ${required}")
endif()
foreach(calls passing of_programs)
  list(REMOVE_DUPLICATES ${calls})
  list(TRANSFORM ${calls} APPEND ",\n")
  list(JOIN ${calls} "" ${calls})
endforeach()
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/generated/system_calls.inc CONTENT "${passing}")
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/generated/system_calls_of_programs.inc CONTENT "${of_programs}")
