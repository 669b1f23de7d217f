// SPDX-License-Identifier: MIT
// The kernel as the tool sees it, replaced at the system call: the bus leads to simulated boards, sleeping advances a
// virtual clock, the host's files come from the board's scenario, and the system log is kept. Only the paths and
// descriptors named here are faked; everything else reaches the real system.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "sim/board.h"

struct SyslogLine {
    int priority;
    std::string text;

    bool operator==(const SyslogLine&) const = default;
};

/// Active for its lifetime; the newest wins.
class FakeKernel {
public:
    explicit FakeKernel(sim::Board& board);
    ~FakeKernel();
    FakeKernel(const FakeKernel&) = delete;
    FakeKernel& operator=(const FakeKernel&) = delete;

    static FakeKernel* current();

    std::map<int, sim::Board*> buses;          ///< the board on each /dev/i2c-N; initially one on bus 0
    std::map<std::string, std::string> files;  ///< exact contents in place of the scenario's
    std::vector<SyslogLine> syslog;
    std::vector<std::string> openlog_identities;
    std::vector<uint32_t> sleeps_us;
    bool keep_wire = true;           ///< false: neither wire nor sleeps_us are kept, for long runs
    bool keep_order = false;         ///< true: wire also has "sleep 10000" (us) and "out TEXT", a write to stdout
    std::vector<std::string> wire;   ///< every ioctl on the bus: "W 08 a5: 42 43" or "R 08 80 32"
    uint64_t bit_ns = 0;             ///< what a bit on the bus takes: 2,500 at 400 kHz
    uint64_t bus_ns = 0;             ///< what is left below a microsecond
    std::map<int, int> open_errors;  ///< errno of open for a /dev/i2c-N that cannot be opened
    unsigned long functions = 1;     ///< of all adapters; 1: I2C_FUNC_I2C
    int transfer_error = 6;          ///< errno of a transfer that fails; 6: ENXIO, no acknowledge
    /// Answers the transfers in place of the boards. False: no acknowledge.
    std::function<bool(std::span<const sim::Message>)> on_bus;
    std::string exported;  ///< what was written to the GPIO's export file
    bool export_works = true;
    size_t largest_block = SIZE_MAX;  ///< no memory is left for anything larger
    /// The call with this number fails: malloc, new, open, fstat, flock, read, write, fsync, linkat; 0: none. Transfers
    /// on the bus do not count.
    uint64_t failing_call = 0;
    uint64_t calls = 0;
    uint64_t now_us = 1'763'330'000'000'000;  ///< 2025-11-16 21:53:20 UTC
    uint64_t slept_us = 0;
    int lock = -1;  ///< the file of the default lock, made at its first use

private:
    FakeKernel* older_;
};

/// While it lives, the calls of this thread are those of the program under test, see FakeKernel::failing_call.
struct ProgramCalls {
    ProgramCalls();
    ~ProgramCalls();
    ProgramCalls(const ProgramCalls&) = delete;
    ProgramCalls& operator=(const ProgramCalls&) = delete;
};

/// While it lives, they are those of the test again.
struct OwnCalls {
    OwnCalls();
    ~OwnCalls();
    OwnCalls(const OwnCalls&) = delete;
    OwnCalls& operator=(const OwnCalls&) = delete;
};

/// For the fakes: counts a call of the program under test. True, with errno set, when it is to fail.
bool call_fails(int error);
