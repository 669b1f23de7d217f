# SPDX-License-Identifier: MIT
# Hardening of a release, and independence of its bytes from the folder of the build. tests/shipped/hardening.sh
# and reproducible.sh check both in the built files.

# The checked variants of C library calls need optimisation; sanitizers need the plain calls.
set(hardening ON)
if(NOT CMAKE_BUILD_TYPE STREQUAL Release OR SV_SANITIZE)
  set(hardening OFF)
endif()
option(SV_HARDENING "Harden the programs" ${hardening})
if(NOT SV_HARDENING)
  return()
endif()

include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

set(release_flags -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
# Some of these exist only for some processors and compilers.
foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection=full -mbranch-protection=standard)
  string(MAKE_C_IDENTIFIER "SV_HAS${flag}" has)
  check_cxx_compiler_flag("-Werror ${flag}" ${has})
  if(${has})
    list(APPEND release_flags ${flag})
  endif()
endforeach()

target_compile_options(sv_flags INTERFACE ${release_flags})
sv_link_options(SV_HAS_RELRO -Wl,-z,relro,-z,now,-z,noexecstack)
