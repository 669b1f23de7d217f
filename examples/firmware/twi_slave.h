/* SPDX-License-Identifier: MIT */
/* The two-wire slave on port C (SDA PC0, SCL PC1), polled, without interrupts. */
#ifndef TWI_SLAVE_H
#define TWI_SLAVE_H

#include <stdbool.h>

void start_twi_slave(void);

/* Serves at most one bus event. The first byte of a write sets the register pointer, the others go to
 * consecutive registers; a read returns consecutive registers from the pointer on. The pointer wraps
 * after 0xFF. The clock is held low until the event is served, so a slow caller only slows the bus. */
void poll_twi_slave(void);

/* True from the address byte to the stop condition. */
bool is_transfer_open(void);

#endif
