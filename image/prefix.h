// SPDX-License-Identifier: MIT
// Makes the prefix of an update file, which src/update/file_notes.h describes.
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
    std::vector<std::string> overruled;  ///< checks that failed, but were overruled
};

/// Joins the parts and, unless empty, `sha256` as the last line. Returns the error, or an empty text.
std::string make_prefix(const PrefixParts& parts, const std::string& sha256, std::string& prefix);
