// SPDX-License-Identifier: MIT
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "image/builder.h"
#include "image/commands.h"
#include "image/host_file.h"
#include "image/inspector.h"

namespace {

bool parse_swid(const std::string& text, uint16_t& swid, std::string& error) {
    char* end = nullptr;
    const unsigned long number = std::strtoul(text.c_str(), &end, 0);
    // strtoul would skip blanks, take signs, and stop where the number ends.
    if (text.empty() || std::isdigit(static_cast<unsigned char>(text[0])) == 0 || *end != '\0' || number > UINT16_MAX) {
        error = "software id '" + text + "' is not a number from 1 to 0xFFFF";
        return false;
    }
    swid = static_cast<uint16_t>(number);
    return true;
}

bool read_prefix(const std::string& path, std::string& prefix, std::string& error) {
    std::vector<uint8_t> bytes;
    if (!path.empty() && !read_bytes(path, kPrefixLimit, bytes, error)) {
        return false;
    }
    prefix.assign(bytes.begin(), bytes.end());
    return true;
}

bool read_input(const PackOptions& options, BuildInput& input, std::string& error) {
    input.mark_all = options.mark_all;
    input.notes = options.notes;
    return parse_swid(options.swid, input.swid, error) &&
           read_bytes(options.region_files[0], kRegionSize, input.regions[0], error) &&
           read_bytes(options.region_files[1], kRegionSize, input.regions[1], error) &&
           read_prefix(options.prefix_file, input.prefix, error);
}

bool is_input(const PackOptions& options, const std::string& path) {
    for (const std::string& input : {options.region_files[0], options.region_files[1], options.prefix_file}) {
        std::error_code unknown;
        if (std::filesystem::equivalent(input, path, unknown)) {
            return true;
        }
    }
    return false;
}

void print_report(const std::string& path, const Inspection& made) {
    std::printf("file:                     %s\n", path.c_str());
    std::printf("software id:              0x%04x\n", made.info->swid[0]);
    for (int region = 0; region < kRegions; ++region) {
        std::printf("region %d checksum:        0x%04x\n", region, made.info->region_crc[region]);
        std::printf("region %d marked pages:    %zu of %u\n", region, count_programmed(made.body->marked_pages, region),
                    kProgrammedPages);
    }
    std::printf("size:                     %zu bytes\n", made.size);
}

}  // namespace

bool run_pack(const PackOptions& options, std::string& error) {
    BuildInput input;
    if (!read_input(options, input, error)) {
        return false;
    }
    const BuildResult result = build_update_file(input);
    if (!result.error.empty()) {
        error = result.error;
        return false;
    }
    if (is_input(options, options.output)) {
        error = options.output + " is one of the inputs";
        return false;
    }
    if (!save_update_file(options.output, options.force ? Replace::kYes : Replace::kNo, result.file, error)) {
        return false;
    }
    print_report(options.output, inspect_update_file(result.file));
    return true;
}
