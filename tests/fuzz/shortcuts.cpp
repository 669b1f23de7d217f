// SPDX-License-Identifier: MIT
// What would take most of a run's time, linked in place of the real functions, which have other tests: checksums of a
// part of a large buffer, which can still be right or wrong, and a read-back of the last pages only.
#define crc16_buffer whole_crc16
#define sha256_hex whole_sha256
#define read_memory read_whole_memory
#include "update/flash_region.cpp"
#include "util/crc.cpp"
#include "util/sha256.cpp"
#undef crc16_buffer
#undef sha256_hex
#undef read_memory

#include "tests/fuzz/update_files.h"
#include "tests/support/update_file_bytes.h"

uint16_t crc16_buffer(uint16_t init, const uint8_t* data, size_t count);

bool read_memory(McuDevice& device, uint16_t first_page, uint16_t end_page, uint8_t* buffer, uint32_t buffer_size) {
    const int first = std::max<int>(first_page, end_page - kReadPages);
    return read_whole_memory(device, static_cast<uint16_t>(first), end_page, buffer, buffer_size);
}

uint16_t crc16_buffer(uint16_t init, const uint8_t* data, size_t count) {
    uint16_t crc = init;
    for (; count >= kCrcBlock; count -= kCrcBlock, data += kCrcBlock) {
        crc = whole_crc16(crc, data, kCrcSample);
    }
    return whole_crc16(crc, data, count);
}

std::string sha256_hex(const uint8_t* data, size_t size) {
    const size_t end = std::min(size, kShaSample);
    return whole_sha256(data + size - end, end);
}

uint16_t sampled_crc16(std::span<const uint8_t> bytes) {
    static std::vector<uint8_t> counted;
    counted.clear();
    for (; bytes.size() >= kCrcBlock; bytes = bytes.subspan(kCrcBlock)) {
        counted.insert(counted.end(), bytes.begin(), bytes.begin() + kCrcSample);
    }
    counted.insert(counted.end(), bytes.begin(), bytes.end());
    return textbook_crc16(counted);
}
