# SPDX-License-Identifier: MIT
# How everything is compiled.

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
target_link_options(sv_flags INTERFACE -Wl,--gc-sections)

if(SV_SANITIZE)
  target_compile_options(sv_flags INTERFACE -fsanitize=${SV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(sv_flags INTERFACE -fsanitize=${SV_SANITIZE})
endif()

if(SV_FUZZ)
  target_compile_options(sv_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

if(SV_COVERAGE)
  target_compile_options(sv_flags INTERFACE --coverage -O0)
  target_link_options(sv_flags INTERFACE --coverage)
endif()

include(cmake/hardening.cmake)

# sv_library(name source... LINK library...)
function(sv_library name)
  cmake_parse_arguments(arg "" "" "LINK" ${ARGN})
  add_library(${name} STATIC ${arg_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PUBLIC sv_flags ${arg_LINK})
endfunction()

# Sends the program's calls into the kernel to tests/support/fake_kernel.cpp.
function(sv_fake_kernel program)
  foreach(call open ioctl usleep clock_gettime time openlog syslog __syslog_chk fopen access malloc)
    target_link_options(${program} PRIVATE -Wl,--wrap=${call})
  endforeach()
endfunction()
