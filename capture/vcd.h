// SPDX-License-Identifier: MIT
// The two wires of the bus, as a logic analyser would have seen them.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "sim/capture_file.h"

inline constexpr uint32_t kMinSpeed = 10'000;     ///< in hertz
inline constexpr uint32_t kMaxSpeed = 1'000'000;  ///< in hertz

/// A VCD file with the signals SCL and SDA in steps of 100 ns, at this speed of SCL. A transfer begins at its own time,
/// but not before the one before it has ended. What a recording cannot say is drawn so: of a transfer that failed, a
/// write has no acknowledge on its last byte, and a read none on its address. REQUIRES: speed is in range.
std::string vcd_text(std::span<const sim::RecordedTransfer> transfers, uint32_t speed);
