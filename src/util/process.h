// SPDX-License-Identifier: MIT
// What the process owes the bus and the operator: no stray descriptors, no death by signal half-way.
#pragma once

#include <csignal>

/// Opens /dev/null on whichever of the descriptors 0 to 2 is closed. Without this the bus could become
/// descriptor 1, and everything printed would be written to the bus. False when one of them stays closed.
bool reserve_standard_descriptors();

/// A reader of the output that goes away, or a limit to the size of its file, must not end the run between two
/// transfers.
void ignore_output_signals();

/// Into a file or a pipe, standard output goes out in large pieces; a terminal stays line by line. Call before anything
/// is printed.
void buffer_output();

/// A terminal that hangs up must not end the run from here on.
void ignore_hangup();

/// Within its scope a reader of the output that goes away ends the process (SIGPIPE has its default effect), so that a
/// loop of reports in a pipe ends with its reader. What was printed before the scope is written out first, without that
/// risk; what is printed in it is written out at its end. Then SIGPIPE is handled as before.
class BrokenPipeScope {
public:
    BrokenPipeScope();
    ~BrokenPipeScope();
    BrokenPipeScope(const BrokenPipeScope&) = delete;
    BrokenPipeScope& operator=(const BrokenPipeScope&) = delete;

private:
    struct sigaction before_ {};
};

/// Restores, at the end of its scope, how the process met a hang-up at its start.
class HangupScope {
public:
    HangupScope();
    ~HangupScope();
    HangupScope(const HangupScope&) = delete;
    HangupScope& operator=(const HangupScope&) = delete;

private:
    struct sigaction before_ {};
};
