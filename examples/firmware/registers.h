/* SPDX-License-Identifier: MIT */
/* The register file that the host sees at kTwiAddress. Every register can be read and written;
 * those marked "measured" are overwritten by the next measurement. */
#ifndef REGISTERS_H
#define REGISTERS_H

#include <stdint.h>

enum {
    kTwiAddress = 8,             /* 7-bit address on the two-wire bus */
    kRegResetMarker = 0x0F,      /* 0 after every start; whatever the host writes stays until then */
    kRegImpedance1 = 0x10,       /* measured, ohms: 0 to 62, or one of the two values below */
    kRegImpedance2 = 0x11,       /* the same for the second line */
    kRegIdentity = 0x20,         /* struct Identity, 32 bytes, copied from flash at start */
    kRegTemperature = 0x40,      /* measured, int16 in tenths of a degree Celsius, low byte first */
    kImpedanceOpen = 63,         /* above the measurable range: nothing connected */
    kImpedanceUnmeasured = 0xFF, /* no measurement finished since the start */
    kTemperatureUnmeasured = -32768,
};

extern uint8_t registers[256];

#endif
