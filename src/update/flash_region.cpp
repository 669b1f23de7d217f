// SPDX-License-Identifier: MIT
#include "update/flash_region.h"

#include <cstdio>
#include <cstring>

#include "mcu/transactions.h"
#include "update/progress_line.h"
#include "util/crc.h"

namespace {

constexpr uint16_t kPageSizeLimit = 0x2000;  // the segment number is one byte

int other_region(const McuDevice& device) {
    return device.active_region == 0 ? 1 : 0;
}

[[gnu::always_inline]] inline bool read_segment_inline(McuDevice& device, uint16_t page, uint8_t segment,
                                                       uint8_t* data) {
    uint8_t bytes[kSegmentSize];
    if (!run_frame_command(device, read_segment_frame(page, segment), bytes, sizeof bytes)) {
        return false;
    }
    std::memcpy(data, bytes, sizeof bytes);
    return true;
}

// Flattened, like write_segment, because both run for every 32 bytes: a read-back takes a quarter fewer instructions.
[[gnu::flatten]] void read_page(McuDevice& device, uint16_t page, uint8_t* data) {
    for (uint32_t offset = 0; offset < device.page_size; offset += kSegmentSize) {
        // Result ignored: what cannot be read stays as it is.
        static_cast<void>(
            read_segment_inline(device, page, static_cast<uint8_t>(offset / kSegmentSize), data + offset));
    }
}

}  // namespace

bool request_erase(McuDevice& device) {
    if (!run_frame_command(device, erase_frame())) {
        return fail(device, "could not erase other region (%d, %s)", other_region(device), device.last_error.c_str());
    }
    return true;
}

bool erase_other_region(McuDevice& device) {
    if (!request_erase(device)) {
        return false;
    }
    std::printf("erase other region %d\n", other_region(device));
    return true;
}

[[gnu::flatten]] bool write_segment(McuDevice& device, uint16_t page, uint8_t segment, const uint8_t* data) {
    if (!run_frame_command(device, segment_frame(page, segment, data))) {
        return fail(device, "could not write segment %04x %02x (%s)", page, segment, device.last_error.c_str());
    }
    return true;
}

bool write_page(McuDevice& device, uint16_t page, const uint8_t* data, uint16_t size) {
    if (size % kSegmentSize != 0) {
        return fail(device, "invalid page size (does not fit segment size)");
    }
    if (size >= kPageSizeLimit) {
        return fail(device, "invalid page size (too large)");
    }
    for (uint16_t offset = 0; offset < size; offset = static_cast<uint16_t>(offset + kSegmentSize)) {
        if (!write_segment(device, page, static_cast<uint8_t>(offset / kSegmentSize), data + offset)) {
            return false;
        }
    }
    if (!run_frame_command(device, commit_frame(page, crc16_buffer(kCrc16Start, data, size)))) {
        return fail(device, "could not write page %03x (%s)", page, device.last_error.c_str());
    }
    return true;
}

bool request_enable(McuDevice& device, int region, uint16_t swid, uint16_t checksum) {
    if (!run_frame_command(device, enable_frame(swid, checksum))) {
        return fail(device, "could not enable other region (%d, %s)", region, device.last_error.c_str());
    }
    return true;
}

bool request_disable(McuDevice& device, int region) {
    if (!run_frame_command(device, disable_frame())) {
        return fail(device, "could not disable current region (%d, %s)", region, device.last_error.c_str());
    }
    return true;
}

bool read_segment(McuDevice& device, uint16_t page, uint8_t segment, uint8_t* data) {
    return read_segment_inline(device, page, segment, data);
}

bool read_memory(McuDevice& device, uint16_t first_page, uint16_t end_page, uint8_t* buffer, uint32_t buffer_size) {
    if (device.page_size == 0) {
        return fail(device, "version info not available");
    }
    const uint32_t pages = end_page > first_page ? static_cast<uint32_t>(end_page - first_page) : 0;
    if (pages > 0 && uint64_t{end_page} * device.page_size > buffer_size) {
        return fail(device, "buffer too small");
    }
    ProgressLine progress;
    for (uint16_t page = first_page; page < end_page; ++page) {
        progress.set(page, pages);
        progress.page();
        progress.advance();
        read_page(device, page, buffer + uint32_t{page} * device.page_size);
    }
    progress.done();
    return true;
}
