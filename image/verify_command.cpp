// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdio>
#include <iterator>

#include "image/commands.h"
#include "image/content_checks.h"
#include "image/flash_content.h"
#include "image/host_file.h"
#include "image/input_file.h"
#include "image/inspector.h"
#include "update/file_notes.h"
#include "update/update_file.h"
#include "util/printable.h"

namespace {

void check_region_checksums(const McuDevice& device, const std::vector<uint8_t>& flash,
                            std::vector<Finding>& findings) {
    const uint16_t stored[kRegions] = {device.file_crc0, device.file_crc1};
    for (int region = 0; region < kRegions; ++region) {
        const unsigned computed = region_checksum(flash, region);
        if (stored[region] != computed) {
            char text[128];
            std::snprintf(text, sizeof text,
                          "region %d has 0x%04x, but the MCU will compute 0x%04x and refuse to enable it", region,
                          stored[region], computed);
            findings.push_back({"checksum", text});
        }
    }
}

/// The content of a region once it is programmed, and its last page, if it is marked in vain, as the file has it.
std::vector<uint8_t> packed_region(const McuDevice& device, const std::vector<uint8_t>& flash, int region) {
    const auto begin = static_cast<ptrdiff_t>(region) * kRegionSize;
    std::vector<uint8_t> content(flash.begin() + begin, flash.begin() + begin + kRegionSize);
    if (device.file_page_map[static_cast<size_t>(region) * kRegionPages + kProgrammedPages] != 0) {
        std::copy_n(device.file_image.get() + begin + kChecksumSize, kPageSize, content.begin() + kChecksumSize);
    }
    return content;
}

/// What is wrong with the file, by check. `checks` gets the names of all checks that were made.
std::vector<Finding> check_file(const std::vector<uint8_t>& bytes, std::string& checks) {
    std::vector<Finding> findings;
    McuDevice device(nullptr);
    if (!parse_update_bytes(device, bytes)) {
        return {{"layout", device.last_error.c_str()}};
    }
    if (device.file_swid == 0) {
        findings.push_back({"swid", "the software id is 0, which means an empty region"});
    }
    const std::vector<uint8_t> flash = programmed_flash(device.file_image.get(), device.file_page_map.get());
    check_region_checksums(device, flash, findings);
    const std::vector<Finding> content =
        check_content(packed_region(device, flash, 0), packed_region(device, flash, 1));
    const Inspection file = inspect_update_file(bytes);
    const std::string overruled = ' ' + named_value(file.prefix, "overruled").value_or("") + ' ';
    for (const Finding& finding : content) {
        const bool was_known = overruled.find(' ' + finding.check + ' ') != std::string::npos;
        findings.push_back({finding.check, finding.text + (was_known ? " (overruled by pack --force)" : "")});
    }
    if (!sha256_fits(file)) {
        findings.push_back({"sha256", "it is not the one that the file names: the file or this line was changed"});
    }
    checks = "layout, swid, checksum";
    for (const char* check : kContentChecks) {
        checks += std::string(", ") + check;
    }
    checks += file.named_sha256 ? ", sha256" : "";
    return findings;
}

bool verify(const std::string& path) {
    const std::string name = printable(path);
    InputFile input;
    std::string error;
    if (!read_input(path, "", input, error)) {
        print_message(error);
        return false;
    }
    if (input.format != Format::kUpdateFile && input.format != Format::kRaw) {
        print_message(shown_path(path) + ": " + format_name(input.format) +
                      ", no update file: sv_image pack makes one");
        return false;
    }
    std::string checks;
    const std::vector<Finding> findings = check_file(input.bytes, checks);
    for (const Finding& finding : findings) {
        std::printf("%s: %s: %s\n", name.c_str(), finding.check.c_str(), finding.text.c_str());
    }
    if (findings.empty()) {
        std::printf("%s: okay (%s)\n", name.c_str(), checks.c_str());
    }
    return findings.empty();
}

}  // namespace

bool run_verify(const std::vector<std::string>& paths) {
    std::string error;
    if (!check_names("", paths, error)) {
        print_message(error);
        return false;
    }
    return std::count_if(paths.begin(), paths.end(), verify) == static_cast<ptrdiff_t>(paths.size());
}
