// SPDX-License-Identifier: MIT
// Process hygiene: descriptors, signals, buffering.
#pragma once

#include <csignal>

/// Opens /dev/null on each of the descriptors 0 to 2 that is closed. Otherwise the bus could become descriptor 1, and
/// the output would be written to the bus. False if one of them stays closed.
bool reserve_standard_descriptors();

/// Ignores SIGPIPE and SIGXFSZ: neither a reader that closes the pipe nor a limit of the file size may end the run
/// between two transfers.
void ignore_output_signals();

/// Makes standard output fully buffered unless it is a terminal. Call before anything is printed.
void buffer_output();

/// Ignores SIGHUP from now on: a terminal that hangs up must not end the run.
void ignore_hangup();

/// SIGPIPE has its default effect within the scope, so that a shell loop of reports ends when its reader closes the
/// pipe. Flushes standard output at both ends: older output cannot raise the signal, output of the scope can. Then
/// restores the earlier handling.
class BrokenPipeScope {
public:
    BrokenPipeScope();
    ~BrokenPipeScope();
    BrokenPipeScope(const BrokenPipeScope&) = delete;
    BrokenPipeScope& operator=(const BrokenPipeScope&) = delete;

private:
    struct sigaction before_ {};
};

/// Restores, at the end of its scope, the handling of SIGHUP at its start.
class HangupScope {
public:
    HangupScope();
    ~HangupScope();
    HangupScope(const HangupScope&) = delete;
    HangupScope& operator=(const HangupScope&) = delete;

private:
    struct sigaction before_ {};
};

/// SIGHUP, SIGINT and SIGTERM wait for the end of its scope.
class SignalPause {
public:
    SignalPause();
    ~SignalPause();
    SignalPause(const SignalPause&) = delete;
    SignalPause& operator=(const SignalPause&) = delete;

private:
    sigset_t before_{};
};
