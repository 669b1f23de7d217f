// SPDX-License-Identifier: MIT
#include "update/file_notes.h"

#include <algorithm>
#include <string_view>

#include "update/file_layout.h"

std::optional<size_t> find_magic(std::span<const uint8_t> file) {
    const auto head = file.first(std::min(file.size(), kFileSearchSize));
    // A NUL ends the search, as in the loader.
    const auto end = std::find(head.begin(), head.end(), uint8_t{0});
    const std::string_view magic(kFileMagic);
    const auto found = std::search(head.begin(), end, magic.begin(), magic.end());
    if (found == end) {
        return std::nullopt;
    }
    return static_cast<size_t>(found - head.begin());
}

std::vector<std::string> prefix_lines(const std::string& prefix) {
    std::vector<std::string> lines;
    for (size_t begin = 0, end = 0; begin < prefix.size(); begin = end + 1) {
        end = std::min(prefix.find('\n', begin), prefix.size());
        lines.push_back(prefix.substr(begin, end - begin));
    }
    return lines;
}

std::optional<std::string> named_value(const std::string& prefix, const std::string& name) {
    const std::string start = name + ": ";
    std::optional<std::string> value;
    for (const std::string& line : prefix_lines(prefix.substr(0, prefix.rfind('\n') + 1))) {
        if (line.starts_with(start) && line.size() > start.size()) {
            value = line.substr(start.size());
        }
    }
    return value;
}

std::vector<std::string> named_hwids(const std::string& prefix) {
    const char* const blanks = " \t\v\f\r";
    const std::string value = named_value(prefix, "hwid").value_or("");
    std::vector<std::string> hwids;
    for (size_t begin = 0, end = 0; (begin = value.find_first_not_of(blanks, end)) != std::string::npos;) {
        end = std::min(value.find_first_of(blanks, begin), value.size());
        hwids.push_back(value.substr(begin, end - begin));
    }
    return hwids;
}
