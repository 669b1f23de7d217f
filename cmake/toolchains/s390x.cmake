# SPDX-License-Identifier: MIT
# IBM Z: big-endian, to find code that assumes a byte order
set(SV_TRIPLE s390x-linux-gnu)
set(SV_QEMU s390x)
set(CMAKE_SYSTEM_PROCESSOR s390x)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
