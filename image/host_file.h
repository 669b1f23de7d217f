// SPDX-License-Identifier: MIT
// Files of the host, read and written so that nothing is lost.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Reads at most limit + 1 bytes: more than `limit` means that the file is larger. Failure: the reason in `error`.
bool read_bytes(const std::string& path, size_t limit, std::vector<uint8_t>& bytes, std::string& error);

/// A pipe can't be read twice, and the tool's loader seeks.
bool is_pipe(const std::string& path);

enum class Replace { kNo, kYes };

/// Writes an update file beside `path`, has the tool's own loader read it, and only then gives it its name. Only a
/// regular file is ever replaced. Failure: the reason in `error`, and everything as it was.
bool save_update_file(const std::string& path, Replace replace, const std::vector<uint8_t>& bytes, std::string& error);
