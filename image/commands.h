// SPDX-License-Identifier: MIT
// The subcommands of sv_image. Each prints its report and returns false for bad input, with the reason in `error`
// unless the report tells it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "image/host_file.h"

struct PackOptions {
    std::string region_files[2];
    std::string swid;  ///< decimal, "0x" hexadecimal or leading-zero octal
    bool mark_all = false;
    std::optional<std::string> version;
    std::vector<std::string> hwids;  ///< each as `swid`
    std::optional<std::string> build;
    std::vector<std::string> notes;
    bool name_sha256 = true;
    std::string prefix_file;  ///< empty: none
    std::string output;
    Replace replace = Replace::kNo;
};

bool run_pack(const PackOptions& options, std::string& error);

enum class InfoForm { kText, kJson };

/// True whenever the file could be read.
bool run_info(const std::string& path, InfoForm form, std::string& error);

/// True when the tool would load all of them, their region checksums are right, and the SHA-256 of those that name one.
bool run_verify(const std::vector<std::string>& paths);

struct ExtractOptions {
    int region = 0;    ///< 0 or 1
    std::string file;  ///< an update file or a read-back
    std::string output;
    Replace replace = Replace::kNo;
};

/// Warns on standard error when the region may not have been read completely.
bool run_extract(const ExtractOptions& options, std::string& error);

enum class DiffResult { kSame, kDifferent, kTrouble };

/// Each is an update file or a read-back. With kTrouble the reason is in `error`.
DiffResult run_diff(const std::string& path_a, const std::string& path_b, std::string& error);
