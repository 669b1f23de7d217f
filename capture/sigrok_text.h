// SPDX-License-Identifier: MIT
// What a logic analyser saw, decoded by sigrok.
#pragma once

#include <cstdint>
#include <string_view>

#include "sim/capture_file.h"

/// Reads the annotations of sigrok's decoder "i2c" (rows "addr-data") with their sample numbers. Samples per second
/// give the time, which counts from the first sample; all is said to be on this bus. Other lines are skipped. The
/// result has neither transfers nor a problem if the text has no such annotation. REQUIRES: samples_per_second is not
/// 0.
sim::Recording read_sigrok_text(std::string_view text, uint64_t samples_per_second, uint8_t bus);
