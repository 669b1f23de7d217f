// SPDX-License-Identifier: MIT
// What stands before the magic of an update file: free bytes, then lines "key: value". The tool reads none of it. Four
// names have a meaning: version and build (texts), hwid (the hardware ids that the file is for, four digits each), and
// sha256 (of everything from the magic on).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "update/file_layout.h"

/// What fits into the file before the magic.
inline constexpr size_t kPrefixLimit = kFileSearchSize - kFileMagicSize;

/// In the order in which they stand in the file.
struct PrefixParts {
    std::string bytes;                   ///< free bytes, NUL excepted
    std::vector<std::string> notes;      ///< "key: value", printable ASCII; none of the four names
    std::optional<std::string> version;  ///< printable ASCII, not empty; as `build`
    std::vector<uint16_t> hwids;
    std::optional<std::string> build;
};

/// Sets `prefix` to all of it, with `sha256` named last unless that is empty. Returns the error, or nothing.
std::string make_prefix(const PrefixParts& parts, const std::string& sha256, std::string& prefix);

/// The lines of a prefix, the last one also when it has no end.
std::vector<std::string> prefix_lines(const std::string& prefix);

/// The value of the last whole line "name: value" that has one.
std::optional<std::string> named_value(const std::string& prefix, const std::string& name);

/// ASCII that can't command a terminal.
bool is_printable(const std::string& text);
