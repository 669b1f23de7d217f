# SPDX-License-Identifier: MIT
# Debian's cross compilers, and qemu to run their programs. The file of each processor sets SV_TRIPLE (of the
# compiler), SV_QEMU (the emulator's processor) and CMAKE_SYSTEM_PROCESSOR, and includes this file. SV_CLANG uses clang
# with the same libraries.
set(CMAKE_SYSTEM_NAME Linux)

option(SV_CLANG "Cross-compile with clang" OFF)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES SV_CLANG)
if(SV_CLANG)
  set(CMAKE_CXX_COMPILER clang++)
  set(CMAKE_CXX_COMPILER_TARGET ${SV_TRIPLE})
else()
  set(CMAKE_CXX_COMPILER ${SV_TRIPLE}-g++)
endif()

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${SV_QEMU} -L /usr/${SV_TRIPLE})

set(CMAKE_FIND_ROOT_PATH /usr/${SV_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# CLI11 consists of headers, which are the same for every processor.
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
