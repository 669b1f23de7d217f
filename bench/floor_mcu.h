// SPDX-License-Identifier: MIT
// The transfers of the floor, in the tool's order. Any failure ends the program; checks whose outcome the floor's
// commands do not show are left out.
#ifndef SV_BENCH_FLOOR_MCU_H
#define SV_BENCH_FLOOR_MCU_H

#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "bench/floor_crc.h"
#include "bench/wire.h"

struct Identity {
    uint16_t swid;
    uint8_t active;
    uint16_t crc[2];
};

struct Diagnostics {
    uint16_t powerrail;
    uint16_t ext;
    uint8_t pages[2][5];  // of TEKO1 and TEKO2
};

static int bus = -1;

static void give_up(void) {
    exit(255);
}

static inline void read_mcu(uint8_t reg, uint8_t* data, uint16_t count) {
    struct i2c_msg messages[] = {{kMcuAddress, 0, 1, &reg}, {kMcuAddress, I2C_M_RD, count, data}};
    struct i2c_rdwr_ioctl_data request = {messages, 2};
    if (ioctl(bus, I2C_RDWR, &request) < 0) {
        give_up();
    }
}

/// `bytes` begins with the register.
static inline void write_mcu(uint8_t* bytes, uint16_t count) {
    struct i2c_msg message = {kMcuAddress, 0, count, bytes};
    struct i2c_rdwr_ioctl_data request = {&message, 1};
    if (ioctl(bus, I2C_RDWR, &request) < 0) {
        give_up();
    }
}

static inline void poll(uint8_t reg) {
    for (int i = 0; i < 5001; ++i) {
        uint8_t status = 0;
        read_mcu(reg, &status, 1);
        if (status == kSucceeded) {
            return;
        }
        if (status != 0) {
            break;
        }
        usleep(1000);
    }
    give_up();
}

/// A frame with room for a register byte before the first register.
typedef uint8_t Frame[1 + kFrameSize];

static inline uint8_t* at(uint8_t* frame, uint8_t reg) {
    return frame + 1 + reg - kFrameRegister;
}

/// Sends a frame from register `first` up to the command. Overwrites the byte before `first`.
static inline void run_frame(uint8_t* frame, uint8_t first, uint8_t command) {
    uint8_t* start = at(frame, first) - 1;
    *start = first;
    *at(frame, kFrameCommandRegister) = command;
    write_mcu(start, (uint16_t)(kFrameCommandRegister - first + 2));
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
    Frame frame;
    run_frame(frame, kFrameCommandRegister, command);
    read_mcu(kFrameRegister, block, count);
}

static struct Identity read_identity(void) {
    uint8_t block[32];
    read_block(kReadVersion, block, sizeof block);
    const struct Identity identity = {.swid = get16(block + 2), .active = block[6]};
    if (crc16(0xFFFF, block + 8, 22) != get16(block + 30)) {
        give_up();
    }
    read_block(kReadVersion2, block, sizeof block);
    return identity;
}

static void read_flash_status(struct Identity* identity) {
    uint8_t block[10];
    read_block(kReadFlashStatus, block, sizeof block);
    identity->crc[0] = get16(block);
    identity->crc[1] = get16(block + 2);
    if (get16(block + 4) != 0 || get16(block + 6) != 2 || get16(block + 8) != kPageSize) {
        give_up();
    }
}

static void read_data(uint8_t command, uint8_t* data, uint16_t count) {
    run_command(command);
    read_mcu(kDataRegister, data, count);
}

static void read_diag_page(uint8_t command, uint16_t page, uint8_t* data, uint16_t count) {
    run_command_with_parameter(command, page);
    read_mcu(kDataRegister, data, count);
}

static struct Diagnostics read_diagnostics(void) {
    static const uint8_t commands[] = {kReadPowerrail, kReadExt, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x8E,
                                       0x90,           0x8B,     0x8A, 0x96, 0x8C, 0x97, 0x00, 0x02};
    struct Diagnostics diagnostics;
    uint16_t words[sizeof commands];
    uint8_t bytes[32];
    for (size_t i = 0; i < sizeof commands; ++i) {
        run_command(commands[i]);
        read_mcu(kParameterRegister, bytes, 2);
        words[i] = get16(bytes);
    }
    diagnostics.powerrail = words[0];
    diagnostics.ext = words[1];
    read_diag_page(0x91, 5, bytes, 32);
    read_diag_page(0x92, 5, bytes, 32);
    read_diag_page(0x91, 0, diagnostics.pages[0], sizeof diagnostics.pages[0]);
    read_diag_page(0x92, 0, diagnostics.pages[1], sizeof diagnostics.pages[1]);
    read_data(0x93, bytes, 20);
    read_data(0x89, bytes, 18);
    read_data(0x0B, bytes, 8);
    read_mcu(kParameterRegister, bytes, 1);
    for (uint8_t offset = 0; offset < 32; offset = (uint8_t)(offset + 8)) {
        read_diag_page(0x0A, offset, bytes, 8);
        read_mcu(kParameterRegister, bytes, 1);
    }
    return diagnostics;
}

static void write_page(uint16_t page, const uint8_t* data) {
    Frame frame = {0};
    put16(at(frame, kPageRegister), page);
    *at(frame, kKeyRegister) = kWriteKey;
    for (uint8_t segment = 0; segment < kSegments; ++segment) {
        memcpy(at(frame, kFrameRegister), data + segment * kSegmentSize, kSegmentSize);
        *at(frame, kSegmentRegister) = segment;
        run_frame(frame, kFrameRegister, kWriteSegment);
    }
    *at(frame, kSegmentRegister) = 0;
    put16(at(frame, kChecksumRegister), crc16(0xFFFF, data, kPageSize));
    run_frame(frame, kPageRegister, kCommitPage);
}

static void read_page(uint16_t page, uint8_t* data) {
    Frame frame = {0};
    put16(at(frame, kPageRegister), page);
    *at(frame, kKeyRegister) = kReadKey;
    for (uint8_t segment = 0; segment < kSegments; ++segment) {
        *at(frame, kSegmentRegister) = segment;
        run_frame(frame, kPageRegister, kReadSegment);
        read_mcu(kFrameRegister, data + segment * kSegmentSize, kSegmentSize);
    }
}

static void run_key_frame(uint8_t command) {
    Frame frame;
    *at(frame, kKeyRegister) = kWriteKey;
    run_frame(frame, kKeyRegister, command);
}

static void enable_other(uint16_t swid, uint16_t checksum) {
    Frame frame = {0};
    put16(at(frame, kFrameRegister), swid);
    put16(at(frame, kChecksumRegister), checksum);
    *at(frame, kKeyRegister) = kWriteKey;
    run_frame(frame, kFrameRegister, kEnableOther);
}

static void reset_delayed(uint8_t delay) {
    Frame frame;
    *at(frame, kFrameRegister) = delay;
    for (uint8_t i = 1; i <= 34; ++i) {
        *at(frame, (uint8_t)(kFrameRegister + i)) = i;
    }
    put16(at(frame, kChecksumRegister), (uint16_t)(0xFF00 | (uint8_t)~delay));
    *at(frame, kKeyRegister) = kWriteKey;
    run_frame(frame, kFrameRegister, kResetDelayed);
}

#endif
