/* SPDX-License-Identifier: MIT */
/* Temperature, in tenths of a degree Celsius, for each ADC code of the thermistor divider. The thermistor (10 kOhm at
 * 25 degrees, B = 3950 K) is the lower resistor, a fixed 10 kOhm the upper one. The compiler works the logarithms
 * out while compiling, so the program contains the 4096 bytes of the table and no floating point. */
#ifndef THERMISTOR_TABLE_H
#define THERMISTOR_TABLE_H

#include <avr/pgmspace.h>
#include <stdint.h>

/* The ratio of the two resistors at the middle of the code's step, where it is neither 0 nor infinite. */
#define THERMISTOR_RATIO(code) ((2.0 * (code) + 1.0) / (4095.0 - 2.0 * (code)))
#define THERMISTOR_TENTHS(code) \
    (10.0 / (1.0 / 298.15 + __builtin_log(THERMISTOR_RATIO(code)) / 3950.0) - 2731.5)
/* Outside -40 to 125 degrees the thermistor says nothing useful. Adding 1000 before rounding keeps the sum positive. */
#define THERMISTOR_ENTRY(code)                              \
    (int16_t)(THERMISTOR_TENTHS(code) > 1250.0   ? 1250     \
              : THERMISTOR_TENTHS(code) < -400.0 ? -400     \
                                                 : (int16_t)(THERMISTOR_TENTHS(code) + 1000.5) - 1000)

#define ENTRIES_4(code) \
    THERMISTOR_ENTRY(code), THERMISTOR_ENTRY((code) + 1), THERMISTOR_ENTRY((code) + 2), THERMISTOR_ENTRY((code) + 3)
#define ENTRIES_16(code) ENTRIES_4(code), ENTRIES_4((code) + 4), ENTRIES_4((code) + 8), ENTRIES_4((code) + 12)
#define ENTRIES_64(code) ENTRIES_16(code), ENTRIES_16((code) + 16), ENTRIES_16((code) + 32), ENTRIES_16((code) + 48)
#define ENTRIES_256(code) \
    ENTRIES_64(code), ENTRIES_64((code) + 64), ENTRIES_64((code) + 128), ENTRIES_64((code) + 192)

static const int16_t kThermistorTable[] PROGMEM = {
    ENTRIES_256(0),    ENTRIES_256(256),  ENTRIES_256(512),  ENTRIES_256(768),
    ENTRIES_256(1024), ENTRIES_256(1280), ENTRIES_256(1536), ENTRIES_256(1792),
};

_Static_assert(sizeof kThermistorTable == 4096, "one entry for each of the 2048 codes");

#endif
