// SPDX-License-Identifier: MIT
// The prefix of an update file, before the magic: free bytes, then lines "key: value". The loader ignores it. Five keys
// have a meaning: version and build (texts), hwid (ids of the hardware that the file is for, four digits each),
// overruled (names of the checks that failed when the file was made), and sha256 (of the file from the magic to its
// end).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// Offset of the magic in a file, found as the loader finds it; also the size of the prefix.
std::optional<size_t> find_magic(std::span<const uint8_t> file);

/// Splits a prefix into lines; the last one may lack its line end.
std::vector<std::string> prefix_lines(const std::string& prefix);

/// The value in the last complete line "name: value". It may hold any bytes but NUL.
std::optional<std::string> named_value(const std::string& prefix, const std::string& name);

/// The hardware ids that the prefix names, as they are written there. Empty: the file is for any hardware.
std::vector<std::string> named_hwids(const std::string& prefix);
