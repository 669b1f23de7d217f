// SPDX-License-Identifier: MIT
// Reads files, and writes them without losing an existing one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "mcu/mcu_device.h"

/// Reads at most limit + 1 bytes, so that a caller sees when the file is larger than `limit`. Failure: the reason in
/// `error`.
bool read_bytes(const std::string& path, size_t limit, std::vector<uint8_t>& bytes, std::string& error);

/// Bytes of a file that are inspected; every update file is much smaller.
inline constexpr size_t kReadLimit = 0x100000;

/// Whether the path is a pipe, which the tool's loader cannot seek in.
bool is_pipe(const std::string& path);

/// Whether `path` is one of these files, under this or another name; `error` is then set.
bool is_one_of(const std::string& path, const std::vector<std::string>& files, std::string& error);

/// Stores a whole update file in the device with the tool's own loader. Failure: the loader's reason in `error`.
bool load_bytes(const std::vector<uint8_t>& bytes, McuDevice& device, std::string& error);

enum class Replace { kNo, kYes };

enum class Content { kAny, kUpdateFile };

/// Checks an update file with the tool's own loader and writes the bytes to a new file that takes the name `path` when
/// it is complete. Replaces only a regular file of the same owner. Failure: the reason in `error`, with everything
/// unchanged.
bool save_file(const std::string& path, Replace replace, Content content, const std::vector<uint8_t>& bytes,
               std::string& error);
