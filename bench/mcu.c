// SPDX-License-Identifier: MIT
#include "bench/mcu.h"

#include <string.h>

enum {
    kMcuAddress = 0x08,
    kChargerAddress = 0x09,
    kDisplayAddress = 0x50,
    kRegionSize = 0x20000,
    kPageSize = 0x200,
    kSegmentSize = 0x20,
    kStatusBlockSize = 20,
    kParameter = 0x0C,
    kCommand = 0x0E,
    kMarker = 0x0F,
    kData = 0x60,
    kFrame = 0x80,
    kPage = 0xA0,
    kSegment = 0xA2,
    kChecksum = 0xA3,
    kKey = 0xA5,
    kFrameCommand = 0xA6,
    kSucceeded = 0xC0,
    kRefused = 0x80,
};

struct Word {
    uint8_t reg;  // or command
    uint16_t value;
};

static const struct Word kWords[] = {
    {0x80, 1666},   {0x81, 190},    {0x83, 1660}, {0x84, 190},  {0x85, 700}, {0x86, 190},  {0x87, 3084},   {0x8B, 850},
    {0x88, 0x3F3F}, {0x8E, 0x0303}, {0x8C, 190},  {0x8A, 1274}, {0x97, 190}, {0x96, 2560}, {0x90, 0x0319},
};
static const struct Word kChargerWords[] = {{0x1B, 0x22}, {0x25, 0x2A80}, {0x26, 0xBF0}, {0x28, 0x360}, {0x29, 0x40}};
static const uint8_t kStatusBlock[kStatusBlockSize] = {0x8A, 2, 1, 0, 0, 0, 0,  0,  0,  0,
                                                       0,    0, 0, 0, 0, 0, 12, 63, 15, 63};
static const uint8_t kSerial[18] = {0x20, 0x26, 0x11, 0x22, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01};

struct Mcu sv_mcu;

static uint16_t crc_table[256];
static uint8_t registers[256];
static uint8_t page_buffer[kPageSize];
static uint8_t pointer;
static uint8_t charger_pointer;
static int polls_needed;
static int polls_left;

static uint16_t get16(const uint8_t* p) {
    return (uint16_t)(p[0] | p[1] << 8);
}

static void put16(uint8_t* p, uint16_t value) {
    p[0] = (uint8_t)value;
    p[1] = (uint8_t)(value >> 8);
}

static uint16_t checksum(const uint8_t* data, uint32_t count) {
    uint16_t crc = 0xFFFF;
    for (uint32_t i = 0; i < count; ++i) {
        crc = (uint16_t)(crc >> 8 ^ crc_table[(crc ^ data[i]) & 0xFF]);
    }
    return crc;
}

static uint16_t region_checksum(int region) {
    return checksum(sv_mcu.flash + region * kRegionSize, kRegionSize - kPageSize);
}

static uint16_t find_word(const struct Word* words, size_t count, uint8_t reg) {
    for (size_t i = 0; i < count; ++i) {
        if (words[i].reg == reg) {
            return words[i].value;
        }
    }
    return 0;
}

void sv_mcu_init(int polls) {
    polls_needed = polls;
    for (int byte = 0; byte < 256; ++byte) {
        int crc = byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) != 0 ? crc >> 1 ^ 0xA001 : crc >> 1;
        }
        crc_table[byte] = (uint16_t)crc;
    }
    memset(sv_mcu.flash, 0xFF, sizeof sv_mcu.flash);
    uint32_t noise = 1;
    for (int i = 0; i < 24 * kPageSize; ++i) {
        noise = noise * 1664525 + 1013904223;
        sv_mcu.flash[i] = (uint8_t)(noise >> 24);
    }
    sv_mcu.region[0].swid = 0x0100;
    sv_mcu.region[0].checksum = region_checksum(0);
    sv_mcu.region[0].enabled = 1;
    sv_mcu.reset_delay = 0xFFFF;
}

static void read_version(void) {
    uint8_t* block = registers + kFrame;
    memset(block, 0, 32);
    block[0] = 3;
    put16(block + 2, sv_mcu.region[sv_mcu.running].swid);
    put16(block + 4, sv_mcu.region[1 - sv_mcu.running].swid);
    block[6] = (uint8_t)sv_mcu.running;
    memcpy(block + 8, kSerial, sizeof kSerial);
    put16(block + 26, (uint16_t)29500000);
    put16(block + 28, 29500000 >> 16);
    put16(block + 30, checksum(block + 8, 22));
}

static void read_flash_status(void) {
    uint8_t* block = registers + kFrame;
    put16(block, region_checksum(0));
    put16(block + 2, region_checksum(1));
    put16(block + 4, (uint16_t)kRegionSize);
    put16(block + 6, kRegionSize >> 16);
    put16(block + 8, kPageSize);
}

/// Whether the page may be written now.
static int is_writable(uint16_t page) {
    return page / 256 == 1 - sv_mcu.running && page % 256 != 255;
}

static int commit(uint16_t page) {
    uint8_t* flash = sv_mcu.flash + page * kPageSize;
    if (!is_writable(page) || checksum(page_buffer, kPageSize) != get16(registers + kChecksum)) {
        return 0;
    }
    for (int i = 0; i < kPageSize; ++i) {
        if (flash[i] != 0xFF) {
            return 0;
        }
    }
    memcpy(flash, page_buffer, kPageSize);
    return 1;
}

static int enable_other(void) {
    const int other = 1 - sv_mcu.running;
    if (region_checksum(other) != get16(registers + kChecksum)) {
        return 0;
    }
    sv_mcu.region[other].swid = get16(registers + kFrame);
    sv_mcu.region[other].checksum = get16(registers + kChecksum);
    sv_mcu.region[other].enabled = 1;
    return 1;
}

static int reset_delayed(void) {
    const uint8_t* frame = registers + kFrame;
    for (int i = 1; i <= 34; ++i) {
        if (frame[i] != i) {
            return 0;
        }
    }
    sv_mcu.reset_delay = frame[0];
    return frame[35] + frame[0] == 0xFF && frame[36] == 0xFF;
}

static int run_frame_command(uint8_t code) {
    const uint16_t page = get16(registers + kPage);
    const uint32_t offset = registers[kSegment] % 16U * kSegmentSize;
    if (code >= 0x40 && registers[kKey] != (code == 0x81 ? 0xDA : 0x42)) {
        return 0;
    }
    switch (code) {
        case 0x00: read_version(); return 1;
        case 0x01: read_flash_status(); return 1;
        case 0x05: memset(registers + kFrame, 0xFF, 32); return 1;
        case 0x40: memcpy(page_buffer + offset, registers + kFrame, kSegmentSize); return is_writable(page);
        case 0x41: return commit(page);
        case 0x43: memset(sv_mcu.flash + (1 - sv_mcu.running) * kRegionSize, 0xFF, kRegionSize); return 1;
        case 0x45: return enable_other();
        case 0x46: sv_mcu.region[sv_mcu.running].enabled = 0; return sv_mcu.region[1 - sv_mcu.running].enabled;
        case 0x48: return reset_delayed();
        case 0x81:
            if (page >= kMemorySize / kPageSize) {
                return 0;
            }
            memcpy(registers + kFrame, sv_mcu.flash + page * kPageSize + offset, kSegmentSize);
            return 1;
        default: return 0;
    }
}

static void write_mcu(const uint8_t* bytes, uint32_t count) {
    const uint32_t start = bytes[0];
    const uint32_t end = start + count - 1;
    pointer = bytes[0];
    if (end > 256) {
        return;
    }
    memcpy(registers + start, bytes + 1, count - 1);
    if (start <= kCommand && end > kCommand) {
        put16(registers + kParameter, find_word(kWords, sizeof kWords / sizeof *kWords, registers[kCommand]));
        memset(registers + kData, 0, kFrame - kData);
        registers[kCommand] = kSucceeded;
        polls_left = polls_needed;
    }
    if (start <= kFrameCommand && end == kFrameCommand + 1) {
        registers[kFrameCommand] = run_frame_command(registers[kFrameCommand]) ? kSucceeded : kRefused;
        polls_left = polls_needed;
    }
}

static uint8_t read_register(uint8_t reg) {
    if ((reg == kCommand || reg == kFrameCommand) && polls_left > 1) {
        --polls_left;
        return 0;
    }
    if (reg < kStatusBlockSize && (reg < kParameter || reg > kMarker)) {
        return kStatusBlock[reg];
    }
    return registers[reg];
}

static int exchange(const struct i2c_msg* message) {
    const int reading = (message->flags & I2C_M_RD) != 0;
    if (message->addr == kMcuAddress) {
        if (!reading && message->len > 0) {
            write_mcu(message->buf, message->len);
        }
        for (uint32_t i = 0; reading && i < message->len; ++i) {
            message->buf[i] = read_register(pointer++);
        }
        return 0;
    }
    if (message->addr == kChargerAddress) {
        if (!reading && message->len > 0) {
            charger_pointer = message->buf[0];
        } else if (message->len == 2) {
            put16(message->buf,
                  find_word(kChargerWords, sizeof kChargerWords / sizeof *kChargerWords, charger_pointer));
        }
        return 0;
    }
    if (message->addr == kDisplayAddress) {
        memset(message->buf, 0, reading ? message->len : 0);
        return 0;
    }
    return -1;
}

int sv_mcu_transfer(const struct i2c_msg* messages, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        if (exchange(messages + i) != 0) {
            return -1;
        }
    }
    return 0;
}
