// SPDX-License-Identifier: MIT
// The MCU and its neighbours as the bus sees them: just enough of them to be updated, read back and asked for their
// status. Its first firmware and its measurements are those of a new sv_board.
#ifndef SV_BENCH_MCU_H
#define SV_BENCH_MCU_H

#include <linux/i2c.h>
#include <stdint.h>

enum { kMemorySize = 0x42000 };

struct Mcu {
    uint8_t flash[kMemorySize];
    struct {
        uint16_t swid;
        uint16_t checksum;
        uint16_t enabled;
    } region[2];
    uint16_t running;
    uint16_t reset_delay;  ///< tenths of a second; 0xFFFF: no reset has been asked for
};

extern struct Mcu sv_mcu;

/// A new board. `polls`: the status read at which a command is finished.
void sv_mcu_init(int polls);

/// One transfer. Returns 0, or -1 when a device did not acknowledge.
int sv_mcu_transfer(const struct i2c_msg* messages, uint32_t count);

#endif
