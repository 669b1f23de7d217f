/* SPDX-License-Identifier: MIT */
/* A small power manager: shows two line impedances and a temperature in registers on the two-wire bus and
 * blinks an LED on PD0. Version 2 averages its samples and lights an over-temperature LED on PD1.
 *
 * The same objects are linked for both flash regions. For the upper one we rely on these:
 *  - libgcc's __do_copy_data copies .data with ELPM and sets RAMPZ from the high byte of __data_load_start,
 *    so the initial values are found above 64 KiB. Constants that stay in flash are read with the far macros
 *    of <avr/pgmspace.h>, which set RAMPZ too; the near ones would read region 0. RAMPZ keeps its last value,
 *    which is harmless: the data space ends below 64 KiB, so loads and stores do not use it.
 *  - jmp and call carry full 22-bit addresses, and start-up sets EIND. Nothing jumps through a pointer, so
 *    the linker makes no trampolines.
 *  - No interrupt is enabled: the hardware's vectors are at address 0 whichever region runs. */
#include <avr/interrupt.h>
#include <avr/io.h>
#include <avr/pgmspace.h>
#include <stdbool.h>
#include <stdint.h>

#include "measure.h"
#include "registers.h"
#include "twi_slave.h"

#if FIRMWARE_VERSION >= 2
#define SOFTWARE_ID 0x0101
#define VERSION_TEXT "power manager example 2"
#elif FIRMWARE_VERSION == 1
#define SOFTWARE_ID 0x0100
#define VERSION_TEXT "power manager example 1"
#else
#error "FIRMWARE_VERSION must be 1 or 2"
#endif

enum {
    kBlinkTicks = 15625, /* half a second of the 2 MHz clock divided by 64 */
    kAlarmOn = 700,      /* over-temperature, tenths of a degree Celsius */
    kAlarmOff = 650,
};

struct Identity {
    uint16_t software_id; /* low byte first */
    char text[30];        /* filled up with zero bytes */
};

static const struct Identity kIdentity PROGMEM = {SOFTWARE_ID, VERSION_TEXT};

uint8_t registers[256] = {
    [kRegImpedance1] = kImpedanceUnmeasured,
    [kRegImpedance2] = kImpedanceUnmeasured,
};

static void copy_identity(void)
{
    const uint_farptr_t identity = pgm_get_far_address(kIdentity);
    for (uint8_t i = 0; i < sizeof kIdentity; i++) {
        registers[kRegIdentity + i] = pgm_read_byte_far(identity + i);
    }
}

static void publish_measurement(void)
{
    const uint16_t temperature = (uint16_t)measurement.temperature;
    registers[kRegImpedance1] = measurement.impedance[0];
    registers[kRegImpedance2] = measurement.impedance[1];
    registers[kRegTemperature] = (uint8_t)temperature;
    registers[kRegTemperature + 1] = (uint8_t)(temperature >> 8);
}

static void start_leds(void)
{
    PORTD.DIRSET = PIN0_bm;
#if FIRMWARE_VERSION >= 2
    PORTD.DIRSET = PIN1_bm;
#endif
    TCC0.PER = kBlinkTicks - 1;
    TCC0.CTRLA = TC_CLKSEL_DIV64_gc;
}

static void poll_leds(void)
{
    if (TCC0.INTFLAGS & TC0_OVFIF_bm) {
        TCC0.INTFLAGS = TC0_OVFIF_bm;
        PORTD.OUTTGL = PIN0_bm;
    }
#if FIRMWARE_VERSION >= 2
    if (measurement.temperature >= kAlarmOn) {
        PORTD.OUTSET = PIN1_bm;
    } else if (measurement.temperature < kAlarmOff) {
        PORTD.OUTCLR = PIN1_bm;
    }
#endif
}

int main(void)
{
    cli();
    copy_identity();
    start_leds();
    start_measuring();
    start_twi_slave();
    for (;;) {
        poll_twi_slave();
        poll_measuring();
        poll_leds();
        /* A host that reads both bytes of the temperature in one transfer must get them from one measurement. */
        if (!is_transfer_open()) {
            publish_measurement();
        }
    }
}
