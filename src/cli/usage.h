// SPDX-License-Identifier: MIT
#pragma once

/// Writes the usage text to standard error, in one write. It lists "--update-without-enable" where the command is
/// "--update-without-disable", and leaves some commands out: scripts know it as it is.
void print_usage(const char* program);
