# SPDX-License-Identifier: MIT
# 64-bit RISC-V
set(SV_TRIPLE riscv64-linux-gnu)
set(SV_QEMU riscv64)
set(CMAKE_SYSTEM_PROCESSOR riscv64)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
