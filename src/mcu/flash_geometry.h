// SPDX-License-Identifier: MIT
// Layout of the MCU's flash: two program regions, then 0x2000 bytes that no update programs.
#pragma once

#include <cstdint>

inline constexpr uint32_t kRegionSize = 0x20000;
inline constexpr uint32_t kMemorySize = 0x42000;
inline constexpr uint16_t kPageSize = 0x200;
inline constexpr uint8_t kSegmentSize = 0x20;  ///< bytes that one frame carries

inline constexpr uint16_t kMemoryPages = kMemorySize / kPageSize;   // 528
inline constexpr uint16_t kRegionPages = kRegionSize / kPageSize;   // 256
inline constexpr uint16_t kProgrammedPages = kRegionPages - 1;      ///< a region's last page is never programmed
inline constexpr uint8_t kPageSegments = kPageSize / kSegmentSize;  // 16
inline constexpr uint32_t kChecksumSize =
    kProgrammedPages * kPageSize;  ///< bytes that a region's checksum covers, 0x1FE00

inline constexpr uint16_t kErasedChecksum = 0x1CC1;  ///< checksum of a region that is all 0xFF

/// Whether the hardware with this id has this layout.
constexpr bool is_known_hwid(uint16_t hwid) {
    return hwid >= 1 && hwid <= 3;
}
