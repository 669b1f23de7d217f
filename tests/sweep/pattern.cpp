// SPDX-License-Identifier: MIT
#include "tests/sweep/pattern.h"

#include <map>

#include "mcu/flash_geometry.h"
#include "tests/sweep/states.h"

namespace sweep {

namespace {

struct Axis {
    uint64_t first;
    uint64_t last;
    uint64_t step = 1;
};

/// `left` is the number of the axis to the left in the same text.
Axis find_axis(const std::string& name, const Counts& counts, uint64_t left) {
    if (name == "state") {
        return {0, reached_states().states.size() - 1};
    }
    const uint64_t poll = counts.transfers - 2 * counts.changes + 2 * left;
    const std::map<std::string, Axis> axes = {
        {"transfer", {1, counts.transfers}},
        {"later transfer", {left + 1, counts.transfers}},
        {"16th transfer", {1, counts.transfers, 16}},
        {"command", {1, counts.commands}},
        {"frame", {1, counts.frames}},
        {"change", {1, counts.changes}},
        {"change of two attempts", {1, 2 * counts.changes}},
        {"poll of this change", {poll, poll}},
        {"erased pages", {1, kRegionPages}},
        {"commit", {1, kProgrammedPages}},
    };
    return axes.at(name);
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as the pattern has braces
void expand_from(const std::string& done, const std::string& pattern, const Counts& counts, uint64_t left,
                 std::vector<std::string>& texts) {
    const size_t open = pattern.find('{');
    if (open == std::string::npos) {
        texts.push_back(done + pattern);
        return;
    }
    const size_t close = pattern.find('}', open);
    const std::string before = done + pattern.substr(0, open);
    const std::string inside = pattern.substr(open + 1, close - open - 1);
    const std::string rest = pattern.substr(close + 1);
    if (inside.find(',') == std::string::npos) {
        const Axis axis = find_axis(inside, counts, left);
        for (uint64_t number = axis.first; number <= axis.last; number += axis.step) {
            expand_from(before + std::to_string(number), rest, counts, number, texts);
        }
        return;
    }
    for (size_t begin = 0; begin <= inside.size();) {
        const size_t end = std::min(inside.find(',', begin), inside.size());
        expand_from(before + inside.substr(begin, end - begin), rest, counts, left, texts);
        begin = end + 1;
    }
}

}  // namespace

std::vector<std::string> expand(const std::string& pattern, const Counts& counts) {
    std::vector<std::string> texts;
    for (size_t begin = 0; begin <= pattern.size();) {
        const size_t end = std::min(pattern.find('|', begin), pattern.size());
        expand_from("", pattern.substr(begin, end - begin), counts, 0, texts);
        begin = end + 1;
    }
    return texts;
}

}  // namespace sweep
