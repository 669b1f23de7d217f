# SPDX-License-Identifier: MIT
# How a release is armoured, and why its bytes are the same from whatever folder it is built in.
# tests/shipped/hardening.sh and reproducible.sh read both off the built file.

# The fortified twins of the C library's calls need optimisation, and the sanitizers want the plain ones.
set(hardening ON)
if(NOT CMAKE_BUILD_TYPE STREQUAL Release OR SV_SANITIZE)
  set(hardening OFF)
endif()
option(SV_HARDENING "Build with what a release is armoured with" ${hardening})
if(NOT SV_HARDENING)
  return()
endif()

include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

set(release_flags -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
# Not every processor has, and not every compiler knows, all of these.
foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection=full -mbranch-protection=standard)
  string(MAKE_C_IDENTIFIER "SV_HAS${flag}" has)
  check_cxx_compiler_flag("-Werror ${flag}" ${has})
  if(${has})
    list(APPEND release_flags ${flag})
  endif()
endforeach()

target_compile_options(sv_flags INTERFACE ${release_flags})
target_link_options(sv_flags INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)
