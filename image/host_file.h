// SPDX-License-Identifier: MIT
// Files of the host, read and written so that nothing is lost.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Reads at most limit + 1 bytes: more than `limit` means that the file is larger. Failure: the reason in `error`.
bool read_bytes(const std::string& path, size_t limit, std::vector<uint8_t>& bytes, std::string& error);

/// No update file comes near it: of a larger file only this much is looked at.
inline constexpr size_t kReadLimit = 0x100000;

/// A pipe can't be read twice, and the tool's loader seeks.
bool is_pipe(const std::string& path);

/// Whether `path` is one of these files, by this or another name; `error` then says so.
bool is_one_of(const std::string& path, const std::vector<std::string>& files, std::string& error);

enum class Replace { kNo, kYes };

enum class Content { kAny, kUpdateFile };

/// Writes a file beside `path`, has the tool's own loader read it if it is an update file, and only then gives it its
/// name. Only a regular file is ever replaced. Failure: the reason in `error`, and everything as it was.
bool save_file(const std::string& path, Replace replace, Content content, const std::vector<uint8_t>& bytes,
               std::string& error);
