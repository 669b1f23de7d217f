// SPDX-License-Identifier: MIT
// The subcommands of sv_image. Each prints its report. For bad input it returns false, and the reason is in `error` or
// in the report.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "image/host_file.h"

struct PackOptions {
    std::string region_files[2];
    std::string swid;  ///< decimal, "0x" hexadecimal or leading-zero octal
    bool mark_all = false;
    bool any_content = false;
    std::optional<std::string> version;
    std::vector<std::string> hwids;  ///< each in the form of `swid`
    std::optional<std::string> build;
    std::vector<std::string> notes;
    bool name_sha256 = true;
    std::string prefix_file;  ///< empty: none
    std::string output;
    Replace replace = Replace::kNo;
};

bool run_pack(const PackOptions& options, std::string& error);

enum class InfoForm { kText, kJson };

/// True if the file could be read, whatever it holds.
bool run_info(const std::string& path, InfoForm form, std::string& error);

/// True if the tool would load every file, its region checksums are right, each region begins with a jump into itself,
/// and its SHA-256 is right or not stored.
bool run_verify(const std::vector<std::string>& paths);

struct ExtractOptions {
    int region = 0;    ///< 0 or 1
    std::string file;  ///< an update file or a read-back
    std::string output;
    Replace replace = Replace::kNo;
};

/// Warns on standard error if parts of the region look unread.
bool run_extract(const ExtractOptions& options, std::string& error);

enum class DiffResult { kSame, kDifferent, kTrouble };

/// Compares two files, each an update file or a read-back. With kTrouble the reason is in `error`.
DiffResult run_diff(const std::string& path_a, const std::string& path_b, std::string& error);
