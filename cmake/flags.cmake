# SPDX-License-Identifier: MIT
# Compiler and linker options of all programs.

add_library(sv_flags INTERFACE)
target_include_directories(sv_flags INTERFACE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR})
target_compile_options(
  sv_flags
  INTERFACE -Wall
            -Wextra
            -Wconversion
            -Wshadow
            $<$<BOOL:${SV_WERROR}>:-Werror>
            # Output must be the same bits on every processor, with or without fused multiply-add.
            -ffp-contract=off
            -ffunction-sections
            -fdata-sections)
# sv_link_options(name option): all programs are linked with the option if the linker has it
include(CheckLinkerFlag)
function(sv_link_options name option)
  check_linker_flag(CXX ${option} ${name})
  if(${name})
    target_link_options(sv_flags INTERFACE ${option})
  endif()
endfunction()
sv_link_options(SV_HAS_GC_SECTIONS -Wl,--gc-sections)

# Intermediate results must be no wider than their type: a 32-bit x86 needs SSE2 for that.
include(CheckCXXSourceCompiles)
check_cxx_source_compiles("#include <cfloat>\nstatic_assert(FLT_EVAL_METHOD == 0); int main() {}" SV_PLAIN_FLOATS)
if(NOT SV_PLAIN_FLOATS)
  target_compile_options(sv_flags INTERFACE -msse2 -mfpmath=sse)
endif()

# Files beyond 2 GiB and dates beyond 2038. The headers then rename calls (open64, __clock_gettime64), so only 32-bit
# processors get these definitions: elsewhere a preloaded library must find the plain names.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  target_compile_definitions(sv_flags INTERFACE _FILE_OFFSET_BITS=64 $<$<BOOL:${SV_TIME64}>:_TIME_BITS=64>)
endif()

if(SV_SANITIZE)
  target_compile_options(sv_flags INTERFACE -fsanitize=${SV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(sv_flags INTERFACE -fsanitize=${SV_SANITIZE})
endif()

if(SV_FUZZ)
  # What only serves a test is left out: to trace it takes time and guides the fuzzer nowhere.
  target_compile_options(sv_flags INTERFACE $<$<NOT:$<BOOL:$<TARGET_PROPERTY:SV_UNTRACED>>>:-fsanitize=fuzzer-no-link>)
endif()

if(SV_COVERAGE)
  target_compile_options(sv_flags INTERFACE --coverage -O0)
  target_link_options(sv_flags INTERFACE --coverage)
endif()

if(SV_STATIC)
  # Not every C library supports static programs that run at any address.
  set(CMAKE_REQUIRED_LINK_OPTIONS -static-pie)
  check_cxx_source_compiles("int main() {}" SV_HAS_STATIC_PIE)
  unset(CMAKE_REQUIRED_LINK_OPTIONS)
endif()

include(cmake/hardening.cmake)

if(SV_STATIC AND SV_HARDENING AND SV_HAS_STATIC_PIE)
  set(CMAKE_CXX_LINK_OPTIONS_PIE -static-pie) # instead of -pie, which would override it
elseif(SV_STATIC)
  set(CMAKE_CXX_LINK_OPTIONS_PIE -no-pie)
  target_link_options(sv_flags INTERFACE -static)
endif()

# sv_library(name source... LINK library...)
function(sv_library name)
  cmake_parse_arguments(arg "" "" "LINK" ${ARGN})
  add_library(${name} STATIC ${arg_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PUBLIC sv_flags ${arg_LINK})
endfunction()

# Links the C++ library into the program: a board may have another version, or none.
function(sv_own_cxx_library program)
  if(NOT SV_STATIC)
    target_link_options(${program} PRIVATE -static-libstdc++ -static-libgcc)
  endif()
endfunction()

# Compiles test code faster than it would run fastest: it need not have the tool's optimisation level.
function(sv_quick target)
  target_compile_options(${target} PRIVATE $<$<NOT:$<OR:$<CONFIG:Debug>,$<BOOL:${SV_FUZZ}>>>:-O1>)
endfunction()

# Replaces the program's system calls by those of tests/support/fake_kernel.cpp.
function(sv_fake_kernel program)
  # The second line: the names that headers give to some calls with 64-bit time or file offsets, or when fortified.
  foreach(
    call
    open ioctl usleep clock_gettime time openlog syslog fopen access malloc fstat flock read write fsync linkat
    open64 __ioctl_time64 __clock_gettime64 __time64 __syslog_chk fopen64)
    target_link_options(${program} PRIVATE -Wl,--wrap=${call})
  endforeach()
endfunction()
