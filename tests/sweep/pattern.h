// SPDX-License-Identifier: MIT
// Short texts that stand for many: the setups and the faults of the sweep.
#pragma once

#include <string>
#include <vector>

#include "tests/sweep/setup.h"

namespace sweep {

/// Every text that the pattern stands for. Alternatives are separated by `|`. Each pair of braces stands for all of its
/// words, `{0,1}`, or for all numbers of an axis, `{transfer}`; pattern.cpp lists the axes. `counts` are those of the
/// undisturbed update.
std::vector<std::string> expand(const std::string& pattern, const Counts& counts);

}  // namespace sweep
