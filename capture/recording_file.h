// SPDX-License-Identifier: MIT
// Recordings from files, of whatever kind.
#pragma once

#include <cstdint>
#include <string>

#include "sim/capture_file.h"

/// What a file of sigrok does not say.
struct SigrokSource {
    uint64_t samples_per_second = 0;  ///< 0: not known
    uint8_t bus = 0;
};

/// Reads a capture, text of the kernel's events, or annotations of sigrok, found out by content; "-" is standard input.
sim::Recording read_recording(const std::string& path, const SigrokSource& sigrok);
