// SPDX-License-Identifier: MIT
// What sv_board writes of every transfer: trace and capture. Others may read them while they grow.
#pragma once

#include <fstream>
#include <string>

#include "sim/board.h"
#include "sim/trace.h"

namespace sim {

class BusOutput {
public:
    BusOutput(int bus, uint16_t mcu_address, uint64_t start_us)
        : bus_(bus), mcu_address_(mcu_address), decoder_(start_us) {}

    /// Opens the files that have a path; "-" is standard output. A pipe waits for its reader. Each transfer is written
    /// at once if `unbuffered`, and always to what is no regular file. Returns an empty text, or what went wrong.
    std::string open(const std::string& trace_path, const std::string& capture_path, bool unbuffered);

    /// A failure is left to close().
    void write(const Transfer& transfer);

    /// Returns an empty text, or which file does not hold everything.
    std::string close();

private:
    struct File {
        std::string name;
        std::ofstream file;
        std::ostream* out = nullptr;  // null: not wanted

        template <typename Text>
        void write(const Text& text) const;
    };

    int bus_;
    uint16_t mcu_address_;
    TraceDecoder decoder_;
    File trace_;
    File capture_;
};

}  // namespace sim
