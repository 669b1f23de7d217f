/* SPDX-License-Identifier: MIT */
#include "twi_slave.h"

#include <avr/io.h>
#include <stdint.h>

#include "registers.h"

static uint8_t register_pointer;
static bool transfer_open;
static bool first_byte;

void start_twi_slave(void)
{
    TWIC.SLAVE.ADDR = kTwiAddress << 1;
    /* Interrupt level off: the flags are only polled. PIEN makes a stop condition set APIF. */
    TWIC.SLAVE.CTRLA = TWI_SLAVE_ENABLE_bm | TWI_SLAVE_PIEN_bm;
}

static void send_register(uint8_t status)
{
    /* RXACK is left over from an earlier transfer until the master has answered the first byte. */
    if (!first_byte && (status & TWI_SLAVE_RXACK_bm)) {
        TWIC.SLAVE.CTRLB = TWI_SLAVE_CMD_COMPTRANS_gc;
        return;
    }
    first_byte = false;
    TWIC.SLAVE.DATA = registers[register_pointer++];
    TWIC.SLAVE.CTRLB = TWI_SLAVE_CMD_RESPONSE_gc;
}

static void receive_byte(void)
{
    const uint8_t value = TWIC.SLAVE.DATA;
    if (first_byte) {
        register_pointer = value;
    } else {
        registers[register_pointer++] = value;
    }
    first_byte = false;
    TWIC.SLAVE.CTRLB = TWI_SLAVE_CMD_RESPONSE_gc;
}

void poll_twi_slave(void)
{
    const uint8_t status = TWIC.SLAVE.STATUS;
    const uint8_t errors = status & (TWI_SLAVE_BUSERR_bm | TWI_SLAVE_COLL_bm);
    if (errors) {
        /* Only the error flags: a pending byte still holds the clock, and the next poll must answer it. */
        TWIC.SLAVE.STATUS = errors;
        transfer_open = false;
    } else if ((status & TWI_SLAVE_APIF_bm) && (status & TWI_SLAVE_AP_bm)) {
        first_byte = true;
        transfer_open = true;
        TWIC.SLAVE.CTRLB = TWI_SLAVE_CMD_RESPONSE_gc;
    } else if (status & TWI_SLAVE_APIF_bm) {
        TWIC.SLAVE.STATUS = TWI_SLAVE_APIF_bm;
        transfer_open = false;
    } else if (status & TWI_SLAVE_DIF_bm) {
        if (status & TWI_SLAVE_DIR_bm) {
            send_register(status);
        } else {
            receive_byte();
        }
    }
}

bool is_transfer_open(void)
{
    return transfer_open;
}
