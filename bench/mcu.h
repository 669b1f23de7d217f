// SPDX-License-Identifier: MIT
// The board as the bus sees it: the MCU as far as an update and a read-back need it. Everything else that is read is 0,
// so that a status or a dump makes all its transfers, too.
#ifndef SV_BENCH_MCU_H
#define SV_BENCH_MCU_H

#include "bench/wire.h"

struct Mcu {
    uint8_t flash[kMemorySize];
    struct {
        uint16_t swid;
        uint16_t checksum;
        uint16_t enabled;
    } region[2];
    uint16_t running;
    uint16_t reset_delay;  ///< in 0.1 s; 0xFFFF: no reset is pending
};

extern struct Mcu sv_mcu;

/// Makes a new board. Its commands are finished at the first status read.
void sv_mcu_init(void);

/// Runs one transfer. Returns 0, or -1 when a device did not acknowledge.
int sv_mcu_transfer(const struct i2c_msg* messages, uint32_t count);

#endif
