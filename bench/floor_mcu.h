// SPDX-License-Identifier: MIT
// The transfers of the floor: what goes over the wire, in the order in which the tool does it. Whatever fails ends the
// program; checks whose outcome the floor's commands do not show are left out.
#ifndef SV_BENCH_FLOOR_MCU_H
#define SV_BENCH_FLOOR_MCU_H

#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "bench/floor_crc.h"

enum {
    kMcuAddress = 0x08,
    kRegionSize = 0x20000,
    kMemorySize = 0x42000,
    kPageSize = 0x200,
    kSegmentSize = 0x20,
    kStatusBlockSize = 20,
    kMarkerRegister = 0x0F,
    kCommandRegister = 0x0E,
    kParameterRegister = 0x0C,
    kDataRegister = 0x60,
    kFrameRegister = 0x80,
    kFrameCommandRegister = 0xA6,
    kKey = 0x42,
};

struct Identity {
    uint16_t hwid;
    uint16_t swid;
    uint16_t active;
    uint16_t crc[2];
};

enum HeadWord { kPowerrail, kExt, kTemperature = 11, kTemperatureCal = 12, kHeadWords = 17 };

struct Diagnostics {
    uint16_t words[kHeadWords];
    uint8_t page5[2][32];
    uint8_t page0[2][5];
};

static int bus = -1;

static inline uint16_t get16(const uint8_t* p) {
    return (uint16_t)(p[0] | p[1] << 8);
}

static inline void put16(uint8_t* p, uint16_t value) {
    p[0] = (uint8_t)value;
    p[1] = (uint8_t)(value >> 8);
}

static void give_up(void) {
    exit(255);
}

static int try_read(uint8_t address, uint8_t reg, uint8_t* data, uint16_t count) {
    struct i2c_msg messages[] = {{address, 0, 1, &reg}, {address, I2C_M_RD, count, data}};
    struct i2c_rdwr_ioctl_data request = {messages, 2};
    return ioctl(bus, I2C_RDWR, &request) >= 0;
}

static void read_mcu(uint8_t reg, uint8_t* data, uint16_t count) {
    if (!try_read(kMcuAddress, reg, data, count)) {
        give_up();
    }
}

/// `bytes` begins with the register.
static void write_mcu(uint8_t* bytes, uint16_t count) {
    struct i2c_msg message = {kMcuAddress, 0, count, bytes};
    struct i2c_rdwr_ioctl_data request = {&message, 1};
    if (ioctl(bus, I2C_RDWR, &request) < 0) {
        give_up();
    }
}

static void poll(uint8_t reg) {
    for (int i = 0; i < 5001; ++i) {
        uint8_t status = 0;
        read_mcu(reg, &status, 1);
        if (status == 0xC0) {
            return;
        }
        if (status != 0) {
            break;
        }
        usleep(1000);
    }
    give_up();
}

/// A frame begins with its first register and ends with the command.
static void run_frame(uint8_t* frame, uint16_t count) {
    write_mcu(frame, count);
    poll(kFrameCommandRegister);
}

static void run_command(uint8_t code) {
    uint8_t bytes[] = {kCommandRegister, code};
    write_mcu(bytes, sizeof bytes);
    poll(kCommandRegister);
}

static void run_command_with_parameter(uint8_t code, uint16_t parameter) {
    uint8_t bytes[3] = {kParameterRegister};
    put16(bytes + 1, parameter);
    write_mcu(bytes, sizeof bytes);
    run_command(code);
}

static void read_block(uint8_t command, uint8_t* block, uint16_t count) {
    uint8_t frame[] = {kFrameCommandRegister, command};
    run_frame(frame, sizeof frame);
    read_mcu(kFrameRegister, block, count);
}

static struct Identity read_identity(void) {
    struct Identity identity;
    uint8_t block[32];
    read_block(0x00, block, sizeof block);
    identity.hwid = get16(block);
    identity.swid = get16(block + 2);
    identity.active = block[6];
    const uint16_t crc = crc16(0xFFFF, block + 8, 22);
    if (crc != get16(block + 30)) {
        give_up();
    }
    read_block(0x05, block, sizeof block);
    return identity;
}

static void read_flash_status(struct Identity* identity) {
    uint8_t block[10];
    read_block(0x01, block, sizeof block);
    identity->crc[0] = get16(block);
    identity->crc[1] = get16(block + 2);
    if (get16(block + 4) != 0 || get16(block + 6) != 2 || get16(block + 8) != kPageSize) {
        give_up();
    }
}

static void read_diag_page(uint8_t code, uint16_t page, uint8_t* data, uint16_t count) {
    run_command_with_parameter(code, page);
    read_mcu(kDataRegister, data, count);
}

static struct Diagnostics read_diagnostics(void) {
    static const uint8_t commands[kHeadWords] = {0x80, 0x81, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x8E,
                                                 0x90, 0x8B, 0x8A, 0x96, 0x8C, 0x97, 0x00, 0x02};
    struct Diagnostics diagnostics;
    uint8_t bytes[kSegmentSize];
    for (int i = 0; i < kHeadWords; ++i) {
        run_command(commands[i]);
        read_mcu(kParameterRegister, bytes, 2);
        diagnostics.words[i] = get16(bytes);
    }
    read_diag_page(0x91, 5, diagnostics.page5[0], sizeof diagnostics.page5[0]);
    read_diag_page(0x92, 5, diagnostics.page5[1], sizeof diagnostics.page5[1]);
    read_diag_page(0x91, 0, diagnostics.page0[0], sizeof diagnostics.page0[0]);
    read_diag_page(0x92, 0, diagnostics.page0[1], sizeof diagnostics.page0[1]);
    run_command(0x93);
    read_mcu(kDataRegister, bytes, 20);
    run_command(0x89);
    read_mcu(kDataRegister, bytes, 18);
    run_command(0x0B);
    read_mcu(kDataRegister, bytes, 8);
    uint8_t status = 0;
    read_mcu(kParameterRegister, &status, 1);
    for (uint8_t offset = 0; offset < sizeof bytes; offset = (uint8_t)(offset + 8)) {
        run_command_with_parameter(0x0A, offset);
        read_mcu(kDataRegister, bytes + offset, 8);
        read_mcu(kParameterRegister, &status, 1);
    }
    return diagnostics;
}

static void write_page(uint16_t page, const uint8_t* data) {
    uint8_t frame[40] = {kFrameRegister};
    put16(frame + 33, page);
    frame[38] = kKey;
    for (uint8_t segment = 0; segment < kPageSize / kSegmentSize; ++segment) {
        memcpy(frame + 1, data + segment * kSegmentSize, kSegmentSize);
        frame[35] = segment;
        frame[39] = 0x40;
        run_frame(frame, sizeof frame);
    }
    uint8_t commit[8] = {0xA0};
    put16(commit + 1, page);
    put16(commit + 4, crc16(0xFFFF, data, kPageSize));
    commit[6] = kKey;
    commit[7] = 0x41;
    run_frame(commit, sizeof commit);
}

static void read_page(uint16_t page, uint8_t* data) {
    uint8_t frame[8] = {0xA0};
    put16(frame + 1, page);
    frame[6] = 0xDA;
    for (uint8_t segment = 0; segment < kPageSize / kSegmentSize; ++segment) {
        frame[3] = segment;
        frame[7] = 0x81;
        run_frame(frame, sizeof frame);
        read_mcu(kFrameRegister, data + segment * kSegmentSize, kSegmentSize);
    }
}

static void run_key_frame(uint8_t command) {
    uint8_t frame[] = {0xA5, kKey, command};
    run_frame(frame, sizeof frame);
}

static void enable_other(uint16_t swid, uint16_t checksum) {
    uint8_t frame[40] = {kFrameRegister};
    put16(frame + 1, swid);
    put16(frame + 36, checksum);
    frame[38] = kKey;
    frame[39] = 0x45;
    run_frame(frame, sizeof frame);
}

static void reset_delayed(uint8_t delay) {
    uint8_t frame[40] = {kFrameRegister, delay};
    for (uint8_t i = 1; i <= 34; ++i) {
        frame[1 + i] = i;
    }
    frame[36] = (uint8_t)~delay;
    frame[37] = 0xFF;
    frame[38] = kKey;
    frame[39] = 0x48;
    run_frame(frame, sizeof frame);
}

#endif
