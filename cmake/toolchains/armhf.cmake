# SPDX-License-Identifier: MIT
# 32-bit Arm with floating-point registers
set(SV_TRIPLE arm-linux-gnueabihf)
set(SV_QEMU arm)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
