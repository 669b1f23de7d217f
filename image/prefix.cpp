// SPDX-License-Identifier: MIT
#include "image/prefix.h"

#include <algorithm>
#include <cstdio>

#include "update/file_notes.h"
#include "util/printable.h"

namespace {

constexpr struct {
    const char* name;
    const char* advice;
} kNamed[] = {{"version", "use --fw-version"},
              {"hwid", "use --hwid"},
              {"build", "use --build"},
              {"overruled", "pack --force writes it"},
              {"sha256", "it is computed"}};

bool is_note(const std::string& note) {
    const size_t colon = note.find(": ");
    return colon != std::string::npos && colon > 0 && colon + 2 < note.size() && is_printable(note);
}

/// Refuses lines with one of these keys.
std::string check_names(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        for (const auto& [name, advice] : kNamed) {
            if (line.starts_with(std::string(name) + ':')) {
                return "no note or line of the prefix may be named \"" + std::string(name) + "\": " + advice;
            }
        }
    }
    return {};
}

std::string hwid_line(const std::vector<uint16_t>& hwids) {
    std::string line = "hwid:";
    for (const uint16_t hwid : hwids) {
        char text[8];
        std::snprintf(text, sizeof text, " %04x", hwid);
        line += text;
    }
    return line;
}

std::string overruled_line(const std::vector<std::string>& checks) {
    std::string line = "overruled:";
    for (const std::string& check : checks) {
        line += ' ' + check;
    }
    return line;
}

std::string check_text(const char* option, const std::optional<std::string>& text) {
    if (text && (text->empty() || !is_printable(*text))) {
        return std::string(option) + " is not one line of printable ASCII";
    }
    return {};
}

std::string check_parts(const PrefixParts& parts) {
    if (!std::all_of(parts.notes.begin(), parts.notes.end(), is_note)) {
        return "a note is not one \"key: value\" line of printable ASCII";
    }
    for (const std::string& error : {check_names(parts.notes), check_names(prefix_lines(parts.bytes)),
                                     check_text("--fw-version", parts.version), check_text("--build", parts.build)}) {
        if (!error.empty()) {
            return error;
        }
    }
    return {};
}

}  // namespace

std::string make_prefix(const PrefixParts& parts, const std::string& sha256, std::string& prefix) {
    if (std::string error = check_parts(parts); !error.empty()) {
        return error;
    }
    std::vector<std::string> lines = parts.notes;
    if (parts.version) {
        lines.push_back("version: " + *parts.version);
    }
    if (!parts.hwids.empty()) {
        lines.push_back(hwid_line(parts.hwids));
    }
    if (parts.build) {
        lines.push_back("build: " + *parts.build);
    }
    if (!parts.overruled.empty()) {
        lines.push_back(overruled_line(parts.overruled));
    }
    if (!sha256.empty()) {
        lines.push_back("sha256: " + sha256);
    }
    prefix = parts.bytes;
    if (!prefix.empty() && prefix.back() != '\n' && !lines.empty()) {
        prefix += '\n';
    }
    for (const std::string& line : lines) {
        prefix += line + '\n';
    }
    if (prefix.size() > kPrefixLimit) {
        return "prefix and notes are longer than " + std::to_string(kPrefixLimit) + " bytes";
    }
    if (prefix.find('\0') != std::string::npos) {
        return "the prefix holds a NUL, which would hide the magic";
    }
    // Searched in the joined text: the line end after a note can complete the magic.
    if (prefix.find(kFileMagic) != std::string::npos) {
        return "prefix or notes hold the magic of the file";
    }
    return {};
}
