# SPDX-License-Identifier: MIT
# IBM Z: big-endian, so that no byte order is taken for granted
set(SV_TRIPLE s390x-linux-gnu)
set(SV_QEMU s390x)
set(CMAKE_SYSTEM_PROCESSOR s390x)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
