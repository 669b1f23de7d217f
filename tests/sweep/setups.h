// SPDX-License-Identifier: MIT
// Lists of setups, for the kinds.
#pragma once

#include <vector>

#include "tests/sweep/setup.h"

namespace sweep {

/// Three pages, from this start, with an MCU that takes so long to boot.
Setup three_pages(Start start, uint32_t boot_ms);

/// Region 0 runs, and region 1.
std::vector<Setup> both_regions(Setup setup);

/// The MCU prefers region 0, and region 1.
std::vector<Setup> choices(const std::vector<Setup>& setups);
std::vector<Setup> both_choices(const Setup& setup);

std::vector<Setup> sparse_maps();

/// With and without force, reset and disable.
std::vector<Setup> all_flags();

/// Without force, where there is nothing to do or where a reboot is all.
std::vector<Setup> nothing_to_program();

/// Late enough for the slowest answer to the reset request.
std::vector<Setup> late_resets();

}  // namespace sweep
