// SPDX-License-Identifier: MIT
#pragma once

/// Writes the usage text to standard error. Scripts rely on it, so it stays as it is: it lists
/// "--update-without-enable" although the command is "--update-without-disable", and omits some commands.
void print_usage(const char* program);
