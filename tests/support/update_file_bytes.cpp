// SPDX-License-Identifier: MIT
#include "tests/support/update_file_bytes.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace {

constexpr size_t kPageBytes = 0x200;
constexpr size_t kPagesOfRegion = 255;  // without the last, which is never programmed

void append(std::vector<uint8_t>& bytes, uint64_t value, int count) {
    for (int i = 0; i < count; ++i) {
        bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
    }
}

}  // namespace

uint16_t textbook_crc16(std::span<const uint8_t> bytes) {
    static const auto table = [] {
        std::array<uint32_t, 256> entries{};
        for (uint32_t byte = 0; byte < 256; ++byte) {
            entries[byte] = byte;
            for (int bit = 0; bit < 8; ++bit) {
                entries[byte] = entries[byte] >> 1 ^ ((entries[byte] & 1) != 0 ? 0xA001 : 0);
            }
        }
        return entries;
    }();
    uint32_t crc = 0xFFFF;
    for (const uint8_t byte : bytes) {
        crc = crc >> 8 ^ table[(crc ^ byte) & 0xFF];
    }
    return static_cast<uint16_t>(crc);
}

std::vector<uint8_t> UpdateFileBytes::programmed(int region) const {
    std::vector<uint8_t> flash(kPagesOfRegion * kPageBytes, 0xFF);
    for (size_t page = 0; page < kPagesOfRegion; ++page) {
        const size_t absolute = static_cast<size_t>(region) * 256 + page;
        if (page_map[absolute] != 0) {
            std::copy_n(&image[absolute * kPageBytes], kPageBytes, &flash[page * kPageBytes]);
        }
    }
    return flash;
}

uint16_t UpdateFileBytes::region_crc(int region) const {
    return textbook_crc16(programmed(region));
}

void UpdateFileBytes::fill_page(uint16_t page) {
    page_map[page] = 1;
    for (size_t i = 0; i < kPageBytes; ++i) {
        image[page * kPageBytes + i] = static_cast<uint8_t>(page * 7 + page / 256 * 101 + i * 31 + i / 256);
    }
    if (page == 0 || page == 256) {
        std::copy(std::begin(kFirstJump[page / 256]), std::end(kFirstJump[page / 256]), &image[page * kPageBytes]);
    }
}

void UpdateFileBytes::fill_pages(std::initializer_list<uint16_t> pages) {
    std::for_each(pages.begin(), pages.end(), [this](uint16_t page) { fill_page(page); });
}

void UpdateFileBytes::fill_all_pages() {
    for (uint16_t page = 0; page < kPagesOfRegion; ++page) {
        fill_pages({page, static_cast<uint16_t>(256 + page)});
    }
}

std::vector<uint8_t> UpdateFileBytes::bytes() const {
    const std::string head = prefix + "SVxMega\n";
    std::vector<uint8_t> file(head.begin(), head.end());
    file.insert(file.end(), image.begin(), image.end());
    file.insert(file.end(), page_map.begin(), page_map.end());
    append(file, 0, 6);
    for (const uint16_t word : {reserved0, swid0, swid1, region_crc(0), region_crc(1), reserved10}) {
        append(file, word, 2);
    }
    append(file, region_size, 4);
    append(file, page_size, 2);
    append(file, memory_size, 4);
    append(file, textbook_crc16(std::span(file).subspan(head.size())) ^ crc_error, 2);
    return file;
}

std::string write_temporary(const std::string& name, std::span<const uint8_t> bytes) {
    const char* folder = std::getenv("TMPDIR");
    const std::string path =
        std::string(folder == nullptr ? "/tmp" : folder) + "/sv_" + std::to_string(getpid()) + "_" + name;
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() || std::fclose(file) != 0) {
        std::perror(path.c_str());
        std::abort();
    }
    return path;
}
