// SPDX-License-Identifier: MIT
// What a command prints: the result on standard output, everything for people on standard error.
#pragma once

#include <string>
#include <string_view>

#include "ctl/session.h"

/// Four lower-case hexadecimal digits of an id or a checksum.
std::string hex4(unsigned number);

/// The word of the reason in JSON; null if there is none.
std::string json_reason(const Failure& failure);

/// Ends a command other than update that did not reach its result: prints "sv_ctl: TEXT" on standard error and, with
/// --json, an object with result, reason, retry and message on standard output. Returns the exit status.
int report_failure(const CommonOptions& options, const Failure& failure);

/// Prints a result on standard output. Returns kDone, or kRefused when it could not be written.
int print_result(std::string_view text);
