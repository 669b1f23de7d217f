// SPDX-License-Identifier: MIT
// Update files for tests, written without any code of the tool or of the packer.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// CRC-16/MODBUS byte by byte: the tool's own folds in eight at once.
uint16_t textbook_crc16(std::span<const uint8_t> bytes);

/// How a program for region 0 and one for region 1 begin: jmp over the vectors, to words 0x000FA and 0x100FA.
inline constexpr uint8_t kFirstJump[2][4] = {{0x0C, 0x94, 0xFA, 0x00}, {0x0D, 0x94, 0xFA, 0x00}};

/// The parts of an update file. As it stands it is a good one without a page.
struct UpdateFileBytes {
    std::string prefix;
    std::vector<uint8_t> image = std::vector<uint8_t>(0x42000, 0xFF);
    std::vector<uint8_t> page_map = std::vector<uint8_t>(528, 0);
    uint16_t swid0 = 0x0123;
    uint16_t swid1 = 0x0123;
    uint16_t reserved0 = 0;
    uint16_t reserved10 = 0;
    uint32_t region_size = 0x20000;
    uint16_t page_size = 0x200;
    uint32_t memory_size = 0x42000;
    uint16_t crc_error = 0;  ///< flips bits of the file's checksum

    /// The 255 programmable pages of a region once the marked ones have been programmed into erased flash.
    std::vector<uint8_t> programmed(int region) const;

    /// Checksum of these 255 pages.
    uint16_t region_crc(int region) const;

    /// Fills a page with a pattern of its own and marks it. The first page of a region begins with its jump.
    void fill_page(uint16_t page);
    void fill_pages(std::initializer_list<uint16_t> pages);

    /// The 255 pages of both regions that can be programmed.
    void fill_all_pages();

    std::vector<uint8_t> bytes() const;
};

/// Writes the bytes to a new file in the test's temporary folder and returns its path.
std::string write_temporary(const std::string& name, std::span<const uint8_t> bytes);
