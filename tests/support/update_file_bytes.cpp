// SPDX-License-Identifier: MIT
#include "tests/support/update_file_bytes.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>

namespace {

void append(std::vector<uint8_t>& bytes, uint64_t value, int count) {
    for (int i = 0; i < count; ++i) {
        bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
    }
}

}  // namespace

uint16_t textbook_crc16(std::span<const uint8_t> bytes) {
    static const auto table = [] {
        std::array<uint16_t, 256> crcs{};
        for (unsigned byte = 0; byte < crcs.size(); ++byte) {
            unsigned crc = byte;
            for (int bit = 0; bit < 8; ++bit) {
                crc = (crc & 1) != 0 ? (crc >> 1) ^ 0xA001 : crc >> 1;
            }
            crcs[byte] = static_cast<uint16_t>(crc);
        }
        return crcs;
    }();
    unsigned crc = 0xFFFF;
    for (const uint8_t byte : bytes) {
        crc = crc >> 8 ^ table[(crc ^ byte) & 0xFF];
    }
    return static_cast<uint16_t>(crc);
}

std::vector<uint8_t> UpdateFileBytes::programmed(int region) const {
    std::vector<uint8_t> flash(0x1FE00, 0xFF);
    for (size_t page = 0; page < 255; ++page) {
        const size_t absolute = static_cast<size_t>(region) * 256 + page;
        if (page_map[absolute] != 0) {
            std::copy_n(image.begin() + static_cast<std::ptrdiff_t>(absolute * 0x200), 0x200,
                        flash.begin() + static_cast<std::ptrdiff_t>(page * 0x200));
        }
    }
    return flash;
}

uint16_t UpdateFileBytes::region_crc(int region) const {
    return textbook_crc16(programmed(region));
}

void UpdateFileBytes::fill_page(uint16_t page) {
    page_map[page] = 1;
    for (size_t i = 0; i < 0x200; ++i) {
        image[page * 0x200U + i] = static_cast<uint8_t>(page * 7 + page / 256 * 101 + i * 31 + i / 256);
    }
}

void UpdateFileBytes::fill_all_pages() {
    for (uint16_t page = 0; page < 255; ++page) {
        fill_page(page);
        fill_page(static_cast<uint16_t>(256 + page));
    }
}

std::vector<uint8_t> UpdateFileBytes::bytes() const {
    std::vector<uint8_t> covered = image;
    covered.insert(covered.end(), page_map.begin(), page_map.end());
    append(covered, 0, 6);
    append(covered, reserved0, 2);
    append(covered, swid0, 2);
    append(covered, swid1, 2);
    append(covered, region_crc(0), 2);
    append(covered, region_crc(1), 2);
    append(covered, reserved10, 2);
    append(covered, region_size, 4);
    append(covered, page_size, 2);
    append(covered, memory_size, 4);
    append(covered, textbook_crc16(covered) ^ crc_error, 2);
    const std::string head = prefix + "SVxMega\n";
    std::vector<uint8_t> file(head.begin(), head.end());
    file.insert(file.end(), covered.begin(), covered.end());
    return file;
}

std::string write_temporary(const std::string& name, const std::vector<uint8_t>& bytes) {
    const std::string path = std::filesystem::temp_directory_path() / ("sv_" + std::to_string(getpid()) + "_" + name);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return path;
}
