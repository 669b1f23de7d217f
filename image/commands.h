// SPDX-License-Identifier: MIT
// The subcommands of sv_image. Each prints its report. For bad input it returns false, and the reason is in `error` or
// in the report.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "image/flash_content.h"
#include "image/host_file.h"

struct PackOptions {
    std::vector<std::string> files;  ///< ELF, Intel HEX or S-records: their addresses name the regions
    std::optional<std::string> region_files[kRegions];
    std::string format;  ///< overrides that of the files: see read_input
    std::string swid;    ///< decimal or "0x" hexadecimal
    bool mark_all = false;
    std::optional<std::string> version;
    std::vector<std::string> hwids;  ///< each in the form of `swid`
    std::optional<std::string> build;
    std::vector<std::string> notes;
    bool name_sha256 = true;
    std::string prefix_file;  ///< empty: none
    std::string output;
    Replace replace = Replace::kNo;
    bool overrule = false;  ///< the checks of the content
};

bool run_pack(const PackOptions& options, std::string& error);

enum class InfoForm { kText, kJson };

struct InfoOptions {
    std::string file;
    std::string format;
    std::optional<int> region;  ///< of a raw binary
    InfoForm form = InfoForm::kText;
};

/// True if the file could be read, whatever it holds, except for a bad ELF file, Intel HEX or S-records.
bool run_info(const InfoOptions& options, std::string& error);

/// True if the tool would load every file, its region checksums are right, check_content finds nothing, and its SHA-256
/// is right or not stored.
bool run_verify(const std::vector<std::string>& paths);

struct ExtractOptions {
    int region = 0;    ///< 0 or 1
    std::string file;  ///< of any format
    std::string format;
    std::string output;
    Replace replace = Replace::kNo;
};

/// Warns on standard error if parts of the region look unread.
bool run_extract(const ExtractOptions& options, std::string& error);

enum class DiffResult { kSame, kDifferent, kTrouble };

struct DiffOptions {
    std::string a;
    std::string b;
    std::string format;
    std::optional<int> region;  ///< the only one to compare, and that of a raw binary
};

/// Compares two files of any format in the regions that both hold. With kTrouble the reason is in `error`.
DiffResult run_diff(const DiffOptions& options, std::string& error);
