// SPDX-License-Identifier: MIT
#include "image/flash_copy.h"

#include <algorithm>
#include <utility>

#include "image/host_file.h"
#include "update/reset_vector.h"
#include "update/update_file.h"

namespace {

constexpr uint8_t kUnreadByte = 0x55;

bool load(const InputFile& input, FlashCopy& copy, std::string& error) {
    McuDevice device(nullptr);
    if (!parse_update_bytes(device, input.bytes)) {
        error = shown_path(input.path) + ": " + device.last_error.c_str();
        return false;
    }
    copy.swid = device.file_swid;
    copy.memory = programmed_flash(device.file_image.get(), device.file_page_map.get());
    copy.pages.set();
    return true;
}

/// The region that the first instruction names: only jmp has an address.
std::optional<int> named_region(const RegionContent& content) {
    if (content.size() < kVectorSize) {
        return std::nullopt;
    }
    const ResetVector vector = reset_vector(content.data(), 0);
    const int region = region_at(vector.target);
    return vector.kind == ResetVector::kJmp && region >= 0 ? std::optional(region) : std::nullopt;
}

bool take_raw(const InputFile& input, std::optional<int> region, RegionContents& regions, std::string& error) {
    if (input.bytes.empty()) {
        error = shown_path(input.path) + ": empty";
        return false;
    }
    if (input.bytes.size() > kRegionSize) {
        error = shown_path(input.path) + ": longer than a region (131072 bytes) and no read-back (270336 bytes)";
        return false;
    }
    region = region ? region : named_region(input.bytes);
    if (!region) {
        error = shown_path(input.path) +
                ": no update file, and as a raw binary it does not begin with a jmp, so name its region with --region";
        return false;
    }
    regions.at(static_cast<size_t>(*region)) = input.bytes;
    return true;
}

void put_regions(const RegionContents& regions, FlashCopy& copy) {
    copy.memory.assign(kMemorySize, kErasedByte);
    for (size_t region = 0; region < kRegions; ++region) {
        if (!regions.at(region)) {
            continue;
        }
        const RegionContent& content = *regions.at(region);
        const auto begin = copy.memory.begin() + static_cast<ptrdiff_t>(region * kRegionSize);
        std::copy(content.begin(), content.end(), begin);
        for (size_t page = 0; page < kProgrammedPages; ++page) {
            copy.pages.set(region * kRegionPages + page);
        }
        const bool is_full = !is_erased({begin + kChecksumSize, begin + kRegionSize});
        copy.pages.set(region * kRegionPages + kProgrammedPages, is_full);
    }
}

}  // namespace

bool make_flash_copy(InputFile input, std::optional<int> region, FlashCopy& copy, std::string& error) {
    copy.format = input.format;
    RegionContents regions;
    switch (input.format) {
        case Format::kUpdateFile: return load(input, copy, error);
        case Format::kReadBack:
            copy.memory = std::move(input.bytes);
            copy.pages.set();
            return true;
        case Format::kRaw:
            if (!take_raw(input, region, regions, error)) {
                return false;
            }
            break;
        default:
            if (!decode_firmware(input, regions, copy.omitted, error)) {
                return false;
            }
    }
    put_regions(regions, copy);
    return true;
}

bool read_flash_copy(const std::string& path, const std::string& format, std::optional<int> region, FlashCopy& copy,
                     std::string& error) {
    InputFile input;
    return read_input(path, format, input, error) && make_flash_copy(std::move(input), region, copy, error);
}

bool looks_unread(const FlashCopy& copy, uint32_t segment) {
    const uint8_t* begin = copy.memory.data() + segment * kSegmentSize;
    return copy.format == Format::kReadBack &&
           std::all_of(begin, begin + kSegmentSize, [](uint8_t byte) { return byte == kUnreadByte; });
}
