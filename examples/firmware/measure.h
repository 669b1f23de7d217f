/* SPDX-License-Identifier: MIT */
/* Measures a thermistor (PA1) and the impedances of two lines (PA2, PA3), one input after the other. Each
 * input is the tap of a divider; all three dividers hang on the reference voltage at AREFA (PA0), so an ADC
 * code is a ratio and the voltage itself does not matter. */
#ifndef MEASURE_H
#define MEASURE_H

#include <stdint.h>

struct Measurement {
    int16_t temperature;  /* tenths of a degree Celsius, -400 to 1250, or kTemperatureUnmeasured */
    uint8_t impedance[2]; /* ohms, 0 to 62, or kImpedanceOpen or kImpedanceUnmeasured */
};

extern struct Measurement measurement;

void start_measuring(void);

/* Collects a finished conversion, if there is one, and starts the next. Never waits. */
void poll_measuring(void);

#endif
