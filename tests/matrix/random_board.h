// SPDX-License-Identifier: MIT
// Boards by number: the same number gives the same board on every processor and with every library.
#pragma once

#include <cstdint>
#include <random>
#include <span>

#include "sim/scenario.h"

class Dice {
public:
    explicit Dice(uint64_t seed) : engine_(seed) {}

    /// 0 to sides - 1. The library's own distributions may differ from one library to the next.
    uint64_t roll(uint64_t sides) {
        return engine_() % sides;
    }

    template <typename T>
    const T& pick(std::span<const T> values) {
        return values[static_cast<size_t>(roll(values.size()))];
    }

private:
    std::mt19937_64 engine_;
};

/// Everything that can be chosen of a board, at random; about half of it stays as on a healthy one.
sim::Scenario random_scenario(Dice& dice);
