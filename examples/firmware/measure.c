/* SPDX-License-Identifier: MIT */
#include "measure.h"

#include <avr/io.h>
#include <avr/pgmspace.h>
#include <stddef.h>

#include "registers.h"
#include "thermistor_table.h"

enum {
    kInputs = 3,
    kFullScale = 2048,        /* signed mode gives 0 to 2047 for a positive input */
    kLineReferenceOhms = 150, /* upper resistor of the two line dividers */
#if FIRMWARE_VERSION >= 2
    kSamplesPerValue = 16,    /* averaged; 16 full-scale codes still fit into 16 bits */
#else
    kSamplesPerValue = 1,
#endif
};

struct Measurement measurement = {
    .temperature = kTemperatureUnmeasured,
    .impedance = {kImpedanceUnmeasured, kImpedanceUnmeasured},
};

static uint8_t input; /* 0 the thermistor, 1 and 2 the lines */
static uint8_t sample_count;
static uint16_t sample_sum;

/* The calibration bytes are not in flash proper: the NVM command redirects LPM to the signature row. */
static uint8_t read_calibration_byte(uint8_t offset)
{
    NVM.CMD = NVM_CMD_READ_CALIB_ROW_gc;
    const uint8_t value = pgm_read_byte((uint16_t)offset);
    NVM.CMD = NVM_CMD_NO_OPERATION_gc;
    return value;
}

static void start_conversion(void)
{
    ADCA.CH0.MUXCTRL = (uint8_t)(ADC_CH_MUXPOS_PIN1_gc + (input << ADC_CH_MUXPOS_gp));
    ADCA.CH0.CTRL = ADC_CH_START_bm | ADC_CH_INPUTMODE_SINGLEENDED_gc;
}

void start_measuring(void)
{
    ADCA.CALL = read_calibration_byte(offsetof(NVM_PROD_SIGNATURES_t, ADCACAL0));
    ADCA.CALH = read_calibration_byte(offsetof(NVM_PROD_SIGNATURES_t, ADCACAL1));
    ADCA.CTRLB = ADC_CONMODE_bm | ADC_RESOLUTION_12BIT_gc;
    ADCA.REFCTRL = ADC_REFSEL_AREFA_gc;
    ADCA.PRESCALER = ADC_PRESCALER_DIV16_gc; /* 125 kHz from the 2 MHz clock */
    ADCA.CTRLA = ADC_ENABLE_bm;
    start_conversion();
}

static int16_t temperature_of(uint16_t code)
{
    const uint_farptr_t table = pgm_get_far_address(kThermistorTable);
    return (int16_t)pgm_read_word_far(table + code * sizeof kThermistorTable[0]);
}

static uint8_t impedance_of(uint16_t code)
{
    const uint32_t ohms = (uint32_t)kLineReferenceOhms * code / (kFullScale - code);
    return ohms < kImpedanceOpen ? (uint8_t)ohms : kImpedanceOpen;
}

void poll_measuring(void)
{
    if (!(ADCA.CH0.INTFLAGS & ADC_CH_CHIF_bm)) {
        return;
    }
    ADCA.CH0.INTFLAGS = ADC_CH_CHIF_bm;
    const int16_t result = (int16_t)ADCA.CH0.RES;
    sample_sum += result > 0 ? (uint16_t)result : 0; /* noise around zero may be negative */
    if (++sample_count == kSamplesPerValue) {
        const uint16_t code = sample_sum / kSamplesPerValue;
        if (input == 0) {
            measurement.temperature = temperature_of(code);
        } else {
            measurement.impedance[input - 1] = impedance_of(code);
        }
        if (++input == kInputs) {
            input = 0;
        }
        sample_count = 0;
        sample_sum = 0;
    }
    start_conversion();
}
