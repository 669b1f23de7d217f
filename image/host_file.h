// SPDX-License-Identifier: MIT
// Reads files, and writes them without losing an existing one. The name "-" is standard input or output.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

/// The name as messages show it.
std::string shown_path(const std::string& path);

/// Prints "sv_image: " and the text in printable ASCII to standard error.
void print_message(const std::string& text);

/// Warns of what a file has for other memories than the flash.
void print_omitted(const std::string& path, const std::vector<std::string>& omitted);

/// Reads at most limit + 1 bytes, so that a caller sees when the file is larger than `limit`. Failure: the reason in
/// `error`.
bool read_bytes(const std::string& path, size_t limit, std::vector<uint8_t>& bytes, std::string& error);

/// Refuses an output under the name of an input, this or another one, and standard input named twice. Failure: the
/// reason in `error`.
bool check_names(const std::string& output, const std::vector<std::string>& inputs, std::string& error);

enum class Replace { kNo, kYes };

/// Writes the bytes to a new file that takes the name `path` when it is complete, or to standard output. Replaces only
/// a regular file of the same owner. INT, TERM and HUP wait until the file is complete or removed. Failure: the reason
/// in `error`, with everything unchanged.
bool save_file(const std::string& path, Replace replace, const std::vector<uint8_t>& bytes, std::string& error);

/// Where to print the report of a command with this output: what goes to standard output must not mix with it.
std::FILE* report_stream(const std::string& output);
