// SPDX-License-Identifier: MIT
// The wire, for the C programs of the bench: addresses, registers, commands and sizes. None of it comes from the tool's
// sources, so that a wrong number there shows as a different transfer.
#ifndef SV_BENCH_WIRE_H
#define SV_BENCH_WIRE_H

#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <stdint.h>
#include <string.h>

enum { kMcuAddress = 0x08, kChargerAddress = 0x09, kDisplayAddress = 0x50 };

enum {
    kRegionSize = 0x20000,
    kMemorySize = 0x42000,
    kPageSize = 0x200,
    kMemoryPages = kMemorySize / kPageSize,
    kSegmentSize = 0x20,
    kSegments = kPageSize / kSegmentSize,
    kStatusBlockSize = 20,
    kFrameSize = 39,
};

enum Register {
    kParameterRegister = 0x0C,
    kCommandRegister = 0x0E,
    kMarkerRegister = 0x0F,
    kDataRegister = 0x60,
    kFrameRegister = 0x80,
    kPageRegister = 0xA0,
    kSegmentRegister = 0xA2,
    kChecksumRegister = 0xA3,
    kKeyRegister = 0xA5,
    kFrameCommandRegister = 0xA6,
};

enum FrameCommand {
    kReadVersion = 0x00,
    kReadFlashStatus = 0x01,
    kReadVersion2 = 0x05,
    kWriteSegment = 0x40,
    kCommitPage = 0x41,
    kEraseOther = 0x43,
    kEnableOther = 0x45,
    kDisableCurrent = 0x46,
    kResetDelayed = 0x48,
    kReadSegment = 0x81,
};

enum RegisterCommand { kReadPowerrail = 0x80, kReadExt = 0x81 };

enum { kWriteKey = 0x42, kReadKey = 0xDA, kSucceeded = 0xC0, kRefused = 0x80 };

static inline uint16_t get16(const uint8_t* p) {
    return (uint16_t)(p[0] | p[1] << 8);
}

static inline void put16(uint8_t* p, uint16_t value) {
    p[0] = (uint8_t)value;
    p[1] = (uint8_t)(value >> 8);
}

#endif
