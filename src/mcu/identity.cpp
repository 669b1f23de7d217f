// SPDX-License-Identifier: MIT
#include "mcu/identity.h"

#include <algorithm>
#include <cstring>

#include "mcu/flash_geometry.h"
#include "mcu/transactions.h"
#include "util/crc.h"

namespace {

// The version block.
constexpr size_t kHwidOffset = 0;
constexpr size_t kSwidOffset = 2;
constexpr size_t kOtherSwidOffset = 4;
constexpr size_t kActiveRegionOffset = 6;
constexpr size_t kSerialOffset = 8;
constexpr size_t kSerialSize = 18;
constexpr size_t kProductionOffset = 26;
constexpr size_t kVersionCrcOffset = 30;  // of both blocks

// The flash status.
constexpr size_t kCrc0Offset = 0;
constexpr size_t kCrc1Offset = 2;
constexpr size_t kRegionSizeOffset = 4;
constexpr size_t kPageSizeOffset = 8;
constexpr uint8_t kFlashStatusSize = 10;

constexpr uint8_t kUnansweredFill = 0x11;

/// Checks the CRC of the bytes from `first` to the end of the block.
bool version_crc_ok(const uint8_t* block, size_t first) {
    return crc16_buffer(kCrc16Start, block + first, kVersionCrcOffset - first) == get_le16(block + kVersionCrcOffset);
}

char digit(int nibble) {
    return nibble <= 9 ? static_cast<char>('0' + nibble) : '?';
}

void store_version(McuInfo& info, const uint8_t* block) {
    info.active_region = block[kActiveRegionOffset];
    std::memcpy(info.version1, block, kVersionBlockSize);
    info.swid = get_le16(block + kSwidOffset);
    info.other_swid = get_le16(block + kOtherSwidOffset);
    info.hwid = get_le16(block + kHwidOffset);
    info.swid0 = info.active_region == 0 ? info.swid : info.other_swid;
    info.swid1 = info.active_region == 0 ? info.other_swid : info.swid;
    for (size_t i = 0; i < kSerialSize; ++i) {
        info.serial[2 * i] = digit(block[kSerialOffset + i] >> 4);
        info.serial[2 * i + 1] = digit(block[kSerialOffset + i] & 0x0F);
    }
    info.serial[2 * kSerialSize] = '\0';
    info.production_time = get_le32(block + kProductionOffset) * 60;
    info.version1_crc_ok = version_crc_ok(block, kSerialOffset) ? 1 : 0;
}

void read_second_version(McuDevice& device) {
    uint8_t block[kVersionBlockSize] = {};
    if (!run_frame_command(device, BareFrame(FrameCommand::kReadVersion2), block, sizeof block)) {
        std::memset(device.version2, kUnansweredFill, sizeof device.version2);
        device.version2_empty = 1;
        device.version2_crc_ok = 1;
        return;
    }
    std::memcpy(device.version2, block, sizeof block);
    const bool empty = std::all_of(block, block + kVersionCrcOffset, [](uint8_t byte) { return byte == 0xFF; });
    device.version2_empty = empty ? 1 : 0;
    device.version2_crc_ok = empty || version_crc_ok(block, 0) ? 1 : 0;
}

}  // namespace

bool read_version(McuDevice& device, McuInfo* copy) {
    uint8_t block[kVersionBlockSize] = {};
    if (!run_frame_command(device, BareFrame(FrameCommand::kReadVersion), block, sizeof block)) {
        return fail(device, "could not read version (%s)", device.last_error.c_str());
    }
    store_version(device, block);
    read_second_version(device);
    // Set for an unknown hardware id as well: a read-back needs the page size.
    device.region_size = kRegionSize;
    device.page_size = kPageSize;
    device.segment_size = kSegmentSize;
    device.memory_size = kMemorySize;
    if (copy != nullptr) {
        *copy = device.info();
    }
    return is_known_hwid(device.hwid) || fail(device, "unknown HWID");
}

bool read_flash_status(McuDevice& device, McuInfo* copy) {
    uint8_t block[kFlashStatusSize] = {};
    if (!run_frame_command(device, BareFrame(FrameCommand::kReadFlashStatus), block, sizeof block)) {
        return fail(device, "could not read status (%s)", device.last_error.c_str());
    }
    device.crc0 = get_le16(block + kCrc0Offset);
    device.crc1 = get_le16(block + kCrc1Offset);
    if (copy != nullptr) {
        *copy = device.info();
    }
    const uint32_t region_size = get_le32(block + kRegionSizeOffset);
    if (region_size != device.region_size) {
        return fail(device, "invalid region size (hwid vs. read, %04x %05x %05x)", device.hwid, device.region_size,
                    region_size);
    }
    const uint16_t page_size = get_le16(block + kPageSizeOffset);
    if (page_size != device.page_size) {
        return fail(device, "invalid page size (hwid vs. read, %04x %05x %05x)", device.hwid, device.page_size,
                    page_size);
    }
    return true;
}
