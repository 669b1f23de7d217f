// SPDX-License-Identifier: MIT
// The prefix of an update file, before the magic: free bytes, then lines "key: value". The tool ignores it. Four keys
// have a meaning: version and build (texts), hwid (ids of the hardware that the file is for, four digits each), and
// sha256 (of the file from the magic to its end).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "update/file_layout.h"

/// Largest prefix: the tool would not find the magic after more bytes.
inline constexpr size_t kPrefixLimit = kFileSearchSize - kFileMagicSize;

/// The parts in the order of the file.
struct PrefixParts {
    std::string bytes;                   ///< free bytes without NUL
    std::vector<std::string> notes;      ///< "key: value" in printable ASCII, with other keys
    std::optional<std::string> version;  ///< printable ASCII, not empty; as `build`
    std::vector<uint16_t> hwids;
    std::optional<std::string> build;
};

/// Joins the parts and, unless empty, `sha256` as the last line. Returns the error, or an empty text.
std::string make_prefix(const PrefixParts& parts, const std::string& sha256, std::string& prefix);

/// Splits a prefix into lines; the last one may lack its line end.
std::vector<std::string> prefix_lines(const std::string& prefix);

/// The value in the last complete line "name: value".
std::optional<std::string> named_value(const std::string& prefix, const std::string& name);

/// Printable ASCII, no escape sequences.
bool is_printable(const std::string& text);
