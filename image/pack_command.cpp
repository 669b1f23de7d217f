// SPDX-License-Identifier: MIT
#include <cctype>
#include <cstdio>
#include <cstdlib>

#include "image/builder.h"
#include "image/commands.h"
#include "image/host_file.h"
#include "image/inspector.h"

namespace {

bool parse_id(const char* what, const std::string& text, uint16_t& id, std::string& error) {
    char* end = nullptr;
    const unsigned long number = std::strtoul(text.c_str(), &end, 0);
    // strtoul alone would accept leading blanks, signs and text after the number.
    if (text.empty() || std::isdigit(static_cast<unsigned char>(text[0])) == 0 || *end != '\0' || number == 0 ||
        number > UINT16_MAX) {
        error = what + (" '" + text + "' is not a number from 1 to 0xFFFF");
        return false;
    }
    id = static_cast<uint16_t>(number);
    return true;
}

bool parse_hwids(const std::vector<std::string>& texts, std::vector<uint16_t>& hwids, std::string& error) {
    for (const std::string& text : texts) {
        uint16_t hwid = 0;
        if (!parse_id("hardware id", text, hwid, error)) {
            return false;
        }
        hwids.push_back(hwid);
    }
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
    input.any_content = options.any_content;
    input.name_sha256 = options.name_sha256;
    input.prefix.notes = options.notes;
    input.prefix.version = options.version;
    input.prefix.build = options.build;
    return parse_id("software id", options.swid, input.swid, error) &&
           parse_hwids(options.hwids, input.prefix.hwids, error) &&
           read_bytes(options.region_files[0], kRegionSize, input.regions[0], error) &&
           read_bytes(options.region_files[1], kRegionSize, input.regions[1], error) &&
           read_prefix(options.prefix_file, input.prefix.bytes, error);
}

void print_report(const std::string& path, const Inspection& made) {
    std::printf("file:                     %s\n", path.c_str());
    std::printf("software id:              0x%04x\n", made.info->swid_region0);
    for (int region = 0; region < kRegions; ++region) {
        std::printf("region %d checksum:        0x%04x\n", region,
                    region == 0 ? made.info->crc_region0 : made.info->crc_region1);
        std::printf("region %d marked pages:    %zu of %u\n", region,
                    programmed_in(made.body->marked_pages, region).size(), kProgrammedPages);
    }
    if (made.named_sha256) {
        std::printf("sha256:                   %s\n", made.named_sha256->c_str());
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
    const std::vector<std::string> inputs = {options.region_files[0], options.region_files[1], options.prefix_file};
    if (is_one_of(options.output, inputs, error) ||
        !save_file(options.output, options.replace, Content::kUpdateFile, result.file, error)) {
        return false;
    }
    print_report(options.output, inspect_update_file(result.file));
    return true;
}
