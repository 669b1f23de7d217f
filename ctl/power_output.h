// SPDX-License-Identifier: MIT
// The forms of a reading. All texts from the MCU are escaped.
#pragma once

#include <string>

#include "ctl/power.h"
#include "util/json.h"

/// A line for each value, for people; "-" for one that is absent.
std::string power_lines(const Power& power);

/// Adds each value under its name; null if absent.
void add_power(JsonObject& object, const Power& power);

/// The names and the values, comma-separated (RFC 4180), each with a comma before it, without a line end. A truth value
/// is 1 or 0, an absent value is empty.
std::string csv_names();
std::string csv_values(const Power& power);

/// The text format of Prometheus, without time stamps. After a failed reading it says so (sorvan_up 0, and the reason),
/// besides what could be read.
std::string power_metrics(const Power& power, const Failure& failure);
