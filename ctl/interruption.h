// SPDX-License-Identifier: MIT
// What signals of the operator do to a command.
#pragma once

/// From now on INT, TERM, HUP and QUIT only make interrupted() true.
void catch_interruptions();

bool interrupted();

/// From now on these four and the stops of a terminal (TSTP, TTIN, TTOU) have no effect: nothing may come between two
/// frames that change the MCU.
void ignore_interruptions();
