// SPDX-License-Identifier: MIT
// The subcommands of sv_image. Each prints its report and returns false for bad input, with the reason in `error`
// unless the report tells it.
#pragma once

#include <string>
#include <vector>

struct PackOptions {
    std::string region_files[2];
    std::string swid;  ///< decimal, "0x" hexadecimal or leading-zero octal
    bool mark_all = false;
    std::vector<std::string> notes;
    std::string prefix_file;  ///< empty: none
    std::string output;
    bool force = false;  ///< replace an existing output file
};

bool run_pack(const PackOptions& options, std::string& error);

/// True whenever the file could be read.
bool run_info(const std::string& path, std::string& error);

/// True when the tool would load all of them and their region checksums are right.
bool run_verify(const std::vector<std::string>& paths);
