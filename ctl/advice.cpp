// SPDX-License-Identifier: MIT
#include "ctl/advice.h"

#include <algorithm>
#include <cstdio>

#include "util/printable.h"

namespace {

std::string address_text(uint8_t address) {
    char text[8];
    std::snprintf(text, sizeof text, "0x%02x", address);
    return text;
}

bool is_plain(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
           std::string_view("-_./=:,+").find(byte) != std::string_view::npos;
}

std::string quoted(const std::string& word) {
    if (!word.empty() && std::all_of(word.begin(), word.end(), is_plain)) {
        return word;
    }
    // Bash's and POSIX 2024's $'…' takes the escapes of printable(), '…' takes none.
    const bool escapes = !is_printable(word);
    std::string text = escapes ? "$'" : "'";
    for (const char byte : word) {
        if (byte == '\'') {
            text += escapes ? "\\'" : "'\\''";
        } else if (byte == '\\' && escapes) {
            text += "\\\\";
        } else {
            text += printable({&byte, 1});
        }
    }
    return text + "'";
}

}  // namespace

std::vector<std::string> ctl_words(const CommonOptions& options, const char* command) {
    std::vector<std::string> words = {"sv_ctl", command, "--bus", options.bus, "--addr", address_text(options.address)};
    if (options.lock != kDefaultLock) {
        words.insert(words.end(), {"--lock", options.lock});
    }
    return words;
}

std::vector<std::string> tool_words(const CommonOptions& options, const char* command) {
    return {"sv_updater", "--bus", options.bus, "--addr", address_text(options.address), command};
}

std::string shell_line(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) {
        line += (line.empty() ? "" : " ") + quoted(word);
    }
    return line;
}
