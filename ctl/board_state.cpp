// SPDX-License-Identifier: MIT
#include "ctl/board_state.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "ctl/firmware_file.h"
#include "ctl/identify.h"
#include "ctl/interruption.h"
#include "mcu/flash_geometry.h"
#include "update/flash_region.h"

namespace {

constexpr int kReadAttempts = 3;
constexpr useconds_t kReadRetryUs = 100'000;

bool has_content(McuDevice& device, uint16_t page, const uint8_t* data) {
    const uint8_t* wanted = page_content(device, page);
    if (wanted == nullptr) {
        return std::all_of(data, data + kPageSize, [](uint8_t byte) { return byte == 0xFF; });
    }
    return std::memcmp(data, wanted, kPageSize) == 0;
}

/// Compares the region with the file, up to the first page that differs.
bool compare_region(McuDevice& device, int region, bool& same, Failure& failure) {
    same = false;
    for (int i = 0; i < kProgrammedPages; ++i) {
        const auto page = static_cast<uint16_t>(region * kRegionPages + i);
        uint8_t data[kPageSize];
        if (!read_page_patiently(device, page, data, failure)) {
            return false;
        }
        if (interrupted()) {
            return fail(failure, Reason::kInterrupted, "interrupted");
        }
        if (!has_content(device, page, data)) {
            return true;
        }
    }
    same = true;
    return true;
}

bool same_regions(const McuInfo& a, const McuInfo& b) {
    return a.active_region == b.active_region && a.swid0 == b.swid0 && a.swid1 == b.swid1 && a.crc0 == b.crc0 &&
           a.crc1 == b.crc1;
}

/// Compares the regions whose id and checksum leave it open.
bool compare_regions(McuDevice& device, BoardState& state, Failure& failure) {
    const auto may_be_file = [&](int region) { return region_crc(state.info, region) == file_crc(device, region); };
    if (region_swid(state.info, state.running()) == device.file_swid && may_be_file(state.running()) &&
        !compare_region(device, state.running(), state.running_is_file, failure)) {
        return false;
    }
    const uint16_t other_swid = region_swid(state.info, state.other());
    return (other_swid != device.file_swid && other_swid != 0) || !may_be_file(state.other()) ||
           compare_region(device, state.other(), state.other_is_file, failure);
}

}  // namespace

uint16_t region_swid(const McuInfo& info, int region) {
    return region == 0 ? info.swid0 : info.swid1;
}

uint16_t region_crc(const McuInfo& info, int region) {
    return region == 0 ? info.crc0 : info.crc1;
}

bool read_board_state(McuDevice& device, BoardState& state, Failure& failure) {
    for (int attempt = 0; attempt < kReadAttempts; ++attempt) {
        if (!identify(device, failure)) {
            return false;
        }
        state = BoardState{};
        state.info = device.info();
        if (!compare_regions(device, state, failure) || !identify(device, failure)) {
            return false;
        }
        if (state.info.active_region <= 1 && same_regions(state.info, device.info())) {
            return true;
        }
    }
    return fail(failure, Reason::kBusyMcu, "the MCU reports something else each time; is another program at work?");
}

bool read_segment_patiently(McuDevice& device, uint16_t page, uint8_t segment, uint8_t* data, Failure& failure) {
    for (int attempt = 1; !read_segment(device, page, segment, data); ++attempt) {
        if (attempt == kReadAttempts) {
            return fail(failure, Reason::kNoAnswer, "could not read page %03x: %s", page, device.last_error.c_str());
        }
        usleep(kReadRetryUs);
    }
    return true;
}

bool read_page_patiently(McuDevice& device, uint16_t page, uint8_t* data, Failure& failure) {
    for (uint8_t segment = 0; segment < kPageSegments; ++segment) {
        if (!read_segment_patiently(device, page, segment, data + size_t{segment} * kSegmentSize, failure)) {
            return false;
        }
    }
    return true;
}
