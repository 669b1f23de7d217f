// SPDX-License-Identifier: MIT
#include "bench/mcu.h"

static const uint8_t kStatusBlock[kStatusBlockSize] = {0x8A, 2, 1, 0, 0, 0, 0,  0,  0,  0,
                                                       0,    0, 0, 0, 0, 0, 12, 63, 15, 63};
static const uint8_t kSerial[18] = {0x20, 0x26, 0x11, 0x22, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01};

struct Mcu sv_mcu;

static uint16_t crc_table[256];
static uint8_t registers[256];
static uint8_t page_buffer[kPageSize];
static uint8_t pointer;

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

void sv_mcu_init(void) {
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
    uint8_t* block = registers + kFrameRegister;
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
    uint8_t* block = registers + kFrameRegister;
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
    if (!is_writable(page) || checksum(page_buffer, kPageSize) != get16(registers + kChecksumRegister)) {
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
    if (region_checksum(other) != get16(registers + kChecksumRegister)) {
        return 0;
    }
    sv_mcu.region[other].swid = get16(registers + kFrameRegister);
    sv_mcu.region[other].checksum = get16(registers + kChecksumRegister);
    sv_mcu.region[other].enabled = 1;
    return 1;
}

static int reset_delayed(void) {
    const uint8_t* frame = registers + kFrameRegister;
    for (int i = 1; i <= 34; ++i) {
        if (frame[i] != i) {
            return 0;
        }
    }
    sv_mcu.reset_delay = frame[0];
    return frame[35] + frame[0] == 0xFF && frame[36] == 0xFF;
}

static int run_frame_command(uint8_t code) {
    const uint16_t page = get16(registers + kPageRegister);
    const uint32_t offset = registers[kSegmentRegister] % kSegments * kSegmentSize;
    if (code >= kWriteSegment && registers[kKeyRegister] != (code == kReadSegment ? kReadKey : kWriteKey)) {
        return 0;
    }
    switch (code) {
        case kReadVersion: read_version(); return 1;
        case kReadFlashStatus: read_flash_status(); return 1;
        case kReadVersion2: memset(registers + kFrameRegister, 0xFF, 32); return 1;
        case kWriteSegment:
            memcpy(page_buffer + offset, registers + kFrameRegister, kSegmentSize);
            return is_writable(page);
        case kCommitPage: return commit(page);
        case kEraseOther: memset(sv_mcu.flash + (1 - sv_mcu.running) * kRegionSize, 0xFF, kRegionSize); return 1;
        case kEnableOther: return enable_other();
        case kDisableCurrent:
            sv_mcu.region[sv_mcu.running].enabled = 0;
            return sv_mcu.region[1 - sv_mcu.running].enabled;
        case kResetDelayed: return reset_delayed();
        case kReadSegment:
            if (page >= kMemoryPages) {
                return 0;
            }
            memcpy(registers + kFrameRegister, sv_mcu.flash + page * kPageSize + offset, kSegmentSize);
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
    if (start <= kCommandRegister && end > kCommandRegister) {
        const uint8_t code = registers[kCommandRegister];
        put16(registers + kParameterRegister, code == kReadPowerrail ? 1666 : code == kReadExt ? 190 : 0);
        memset(registers + kDataRegister, 0, kFrameRegister - kDataRegister);
        registers[kCommandRegister] = kSucceeded;
    }
    if (start <= kFrameCommandRegister && end == kFrameCommandRegister + 1) {
        registers[kFrameCommandRegister] = run_frame_command(registers[kFrameCommandRegister]) ? kSucceeded : kRefused;
    }
}

static uint8_t read_register(uint8_t reg) {
    if (reg < kStatusBlockSize && (reg < kParameterRegister || reg > kMarkerRegister)) {
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
    if (message->addr == kChargerAddress || message->addr == kDisplayAddress) {
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
