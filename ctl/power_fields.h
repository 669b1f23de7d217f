// SPDX-License-Identifier: MIT
// The table of everything that a reading holds: name, unit, meaning and conversion of each value. All forms of output
// are made from it.
#pragma once

#include <span>
#include <string>
#include <variant>

#include "ctl/power.h"

/// Absent, a truth value, a finite number, or a text.
using Value = std::variant<std::monostate, bool, double, std::string>;

struct Unit {
    const char* symbol;
    int decimals;
};

/// How a value appears among the metrics.
enum class Sample {
    kNone,
    kGauge,
    kCounter,  ///< its name gets "_total"; the MCU's counters have 8 bits
    kLabel,    ///< a label of the group's "info"
    kState,    ///< a label of an "info" of its own
};

struct PowerField {
    const char* key;      ///< with the unit at its end
    const char* meaning;  ///< for people
    Unit unit;
    Sample sample;
    Value (*value)(const Power& power, int index);
};

/// Fields that exist once, or once for each line interface or each region.
struct PowerGroup {
    const char* prefix;  ///< before the index; empty: without an index
    const char* title;   ///< the same for people
    const char* label;   ///< that the metrics have in place of the index
    int first;
    int count;
    std::span<const PowerField> fields;
};

std::span<const PowerGroup> power_groups();

/// "teko1_volts": the name of a value in JSON and CSV.
std::string field_name(const PowerGroup& group, int index, const PowerField& field);

/// The value in decimal, the truth value as 1 or 0, the text as it is; empty if absent.
std::string value_text(const PowerField& field, const Value& value);

/// Calls body(group, index, field) for each value, in the order of all outputs.
template <typename Body>
void for_each_value(Body body) {
    for (const PowerGroup& group : power_groups()) {
        for (int index = group.first; index < group.first + group.count; ++index) {
            for (const PowerField& field : group.fields) {
                body(group, index, field);
            }
        }
    }
}
