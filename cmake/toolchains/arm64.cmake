# SPDX-License-Identifier: MIT
# 64-bit Arm
set(SV_TRIPLE aarch64-linux-gnu)
set(SV_QEMU aarch64)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
