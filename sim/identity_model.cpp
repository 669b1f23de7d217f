// SPDX-License-Identifier: MIT
#include "sim/identity_model.h"

#include <cstdlib>

#include "util/crc.h"
#include "util/little_endian.h"

namespace sim {

namespace {

uint8_t hex_byte(const std::string& digits, size_t index) {
    return static_cast<uint8_t>(std::strtoul(digits.substr(2 * index, 2).c_str(), nullptr, 16));
}

}  // namespace

std::array<uint8_t, 32> version_block(const Scenario& scenario, const FlashModel& flash) {
    std::array<uint8_t, 32> block{};
    put_le16(&block[0], scenario.hwid);
    put_le16(&block[2], flash.regions[static_cast<size_t>(flash.running())].swid);
    put_le16(&block[4], flash.regions[static_cast<size_t>(flash.other())].swid);
    block[6] = static_cast<uint8_t>(flash.running());
    for (size_t i = 0; i < 18; ++i) {
        block[8 + i] = hex_byte(scenario.serial, i);
    }
    put_le32(&block[26], scenario.production_minutes);
    const uint16_t crc = crc16_buffer(kCrc16Start, &block[8], 22);
    put_le16(&block[30], scenario.version_crc_good ? crc : static_cast<uint16_t>(~crc));
    return block;
}

std::optional<std::array<uint8_t, 32>> version2_block(const Scenario& scenario) {
    std::array<uint8_t, 32> block{};
    if (scenario.version2 == "none") {
        return std::nullopt;
    }
    if (scenario.version2 == "empty") {
        block.fill(0xFF);
        return block;
    }
    for (size_t i = 0; i < block.size(); ++i) {
        block[i] = hex_byte(scenario.version2, i);
    }
    return block;
}

std::array<uint8_t, 10> flash_status(const Scenario& scenario, const FlashModel& flash) {
    std::array<uint8_t, 10> block{};
    put_le16(&block[0], flash.checksum(0));
    put_le16(&block[2], flash.checksum(1));
    put_le32(&block[4], scenario.reported_region_size);
    put_le16(&block[8], scenario.reported_page_size);
    return block;
}

}  // namespace sim
