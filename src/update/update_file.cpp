// SPDX-License-Identifier: MIT
#include "update/update_file.h"

#include <sys/types.h>

#include <cstdio>
#include <cstring>

#include "update/file_layout.h"
#include "util/crc.h"
#include "util/little_endian.h"

namespace {

constexpr char kNoHeader[] = "invalid file (could not find header)";

bool read_all(std::FILE* file, uint8_t* bytes, size_t count) {
    return std::fread(bytes, 1, count, file) == count;
}

/// Offset of the first byte after the magic, or 0 when there is no magic.
off_t find_start(std::FILE* file) {
    char head[kFileSearchSize + 1];
    // Searched as text: a NUL in the prefix ends the search.
    head[std::fread(head, 1, kFileSearchSize, file)] = '\0';
    const char* magic = std::strstr(head, kFileMagic);
    return magic == nullptr ? 0 : static_cast<off_t>(magic - head) + static_cast<off_t>(kFileMagicSize);
}

bool store_info(McuDevice& device, const InfoStructure& info) {
    device.file_reserved0 = info.reserved_0;
    device.file_swid = info.swid_region0;
    if (info.swid_region0 != info.swid_region1) {
        return fail(device, "invalid swid (region mismatch)");
    }
    device.file_crc0 = info.crc_region0;
    device.file_crc1 = info.crc_region1;
    device.file_reserved10 = info.reserved_10;
    device.file_region_size = info.region_size;
    device.file_page_size = info.page_size;
    device.file_memory_size = info.memory_size;
    if (device.file_region_size != kRegionSize) {
        return fail(device, "invalid region size (hwid mismatch)");
    }
    if (device.file_page_size != kPageSize) {
        return fail(device, "invalid page size (hwid mismatch)");
    }
    if (device.file_memory_size != kMemorySize) {
        return fail(device, "invalid memory size (hwid mismatch)");
    }
    return true;
}

/// Stores image and page map, and compares the checksum of the file with file_crc.
bool read_body(McuDevice& device, std::FILE* file, const uint8_t* info) {
    device.file_image.reset();
    device.file_page_map.reset();
    device.file_image = allocate_bytes(kMemorySize);
    device.file_page_map = allocate_bytes(kFilePageMapSize);
    if (device.file_image == nullptr || device.file_page_map == nullptr) {
        return fail(device, "out of memory for the update file");
    }
    uint8_t free_bytes[kFileFreeSize];
    if (!read_all(file, device.file_image.get(), kMemorySize) ||
        !read_all(file, device.file_page_map.get(), kFilePageMapSize) ||
        !read_all(file, free_bytes, sizeof free_bytes)) {
        return fail(device, "could not read file");
    }
    uint16_t crc = crc16_buffer(kCrc16Start, device.file_image.get(), kMemorySize);
    crc = crc16_buffer(crc, device.file_page_map.get(), kFilePageMapSize);
    crc = crc16_buffer(crc, free_bytes, sizeof free_bytes);
    crc = crc16_buffer(crc, info, kInfoFileCrc);
    return crc == get_le16(info + kInfoFileCrc) || fail(device, "invalid file (CRC error)");
}

}  // namespace

bool load_update_file(McuDevice& device, const char* path) {
    std::FILE* file = std::fopen(path, "rb");
    if (file == nullptr) {
        return fail(device, "could not open file");
    }
    const bool ok = parse_update_file(device, file);
    std::fclose(file);
    return ok;
}

bool parse_update_file(McuDevice& device, std::FILE* file) {
    const off_t start = find_start(file);
    if (start == 0) {
        return fail(device, kNoHeader);
    }
    if (fseeko(file, -static_cast<off_t>(kFileInfoSize), SEEK_END) != 0) {
        return fail(device, "could not seek in file for info structure");
    }
    const off_t info_position = ftello(file);
    uint8_t info[kFileInfoSize];
    if (!read_all(file, info, sizeof info)) {
        return fail(device, "could not read info structure");
    }
    if (fseeko(file, start, SEEK_SET) != 0) {
        return fail(device, "could not seek in file for start");
    }
    if (!store_info(device, decode_info(info))) {
        return false;
    }
    if (info_position - static_cast<off_t>(kFileBodySize) != start) {
        return fail(device, "invalid file (wrong size)");
    }
    return read_body(device, file, info);
}

bool parse_update_bytes(McuDevice& device, std::span<const uint8_t> bytes) {
    if (bytes.empty()) {
        return fail(device, kNoHeader);
    }
    // Only read: "rb".
    std::FILE* file = fmemopen(const_cast<uint8_t*>(bytes.data()), bytes.size(), "rb");
    if (file == nullptr) {
        return fail(device, "out of memory for the update file");
    }
    const bool ok = parse_update_file(device, file);
    std::fclose(file);
    return ok;
}
