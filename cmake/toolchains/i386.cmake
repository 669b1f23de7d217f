# SPDX-License-Identifier: MIT
# 32-bit x86
set(SV_TRIPLE i686-linux-gnu)
set(SV_QEMU i386)
set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
