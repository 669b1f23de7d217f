// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <list>

#include "image/builder.h"
#include "image/commands.h"
#include "image/content_checks.h"
#include "image/host_file.h"
#include "image/inspector.h"
#include "image/region_sources.h"
#include "update/update_file.h"
#include "util/printable.h"

namespace {

/// Other programs print ids as 0101, and strtoul reads that as octal. REQUIRES: a number up to 0xFFFF in octal and hex.
std::string zero_advice(const char* what, const std::string& text) {
    const bool is_octal = text.find_first_not_of("01234567") == std::string::npos;
    const unsigned long decimal = std::strtoul(text.c_str(), nullptr, is_octal ? 8 : 10);
    return what +
           (" '" + text + "' begins with 0: write 0x" + text + " if it is hexadecimal, as programs print it, or " +
            std::to_string(decimal) + " if it is " + (is_octal ? "octal" : "decimal"));
}

bool parse_id(const char* what, const std::string& text, uint16_t& id, std::string& error) {
    const bool has_digits = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
    const unsigned long as_hex = has_digits ? std::strtoul(text.c_str(), nullptr, 16) : 0;
    if (has_digits && text[0] == '0' && as_hex > 0 && as_hex <= UINT16_MAX) {
        error = zero_advice(what, text);
        return false;
    }
    char* end = nullptr;
    const unsigned long number = std::strtoul(text.c_str(), &end, 0);
    // strtoul alone would accept leading blanks, signs and text after the number.
    if (text.empty() || std::isdigit(static_cast<unsigned char>(text[0])) == 0 || *end != '\0' || number == 0 ||
        number > UINT16_MAX || (has_digits && text[0] == '0')) {
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
        if (!is_known_hwid(hwid)) {
            print_message("warning: hardware id " + text + " is unknown: sv_updater updates no board that reports it");
        }
        hwids.push_back(hwid);
    }
    return true;
}

/// The firmware files, each read once.
class Sources {
public:
    explicit Sources(const std::string& format) : format_(format) {}

    bool add(const std::string& path, std::optional<int> region, std::string& error) {
        auto file = std::find_if(files_.begin(), files_.end(), [&](const InputFile& f) { return f.path == path; });
        if (file == files_.end()) {
            file = files_.emplace(files_.end());
            if (!read_input(path, format_, *file, error)) {
                return false;
            }
        }
        list.push_back({&*file, region});
        return true;
    }

    std::vector<std::string> paths() const {
        std::vector<std::string> paths;
        std::transform(files_.begin(), files_.end(), std::back_inserter(paths),
                       [](const InputFile& f) { return f.path; });
        return paths;
    }

    std::vector<RegionSource> list;

private:
    std::string format_;
    std::list<InputFile> files_;  // which never move
};

bool read_sources(const PackOptions& options, Sources& sources, std::string& error) {
    for (int region = 0; region < kRegions; ++region) {
        const std::optional<std::string>& path = options.region_files[region];
        if (path && !sources.add(*path, region, error)) {
            return false;
        }
    }
    return std::all_of(options.files.begin(), options.files.end(),
                       [&](const std::string& path) { return sources.add(path, std::nullopt, error); });
}

bool read_prefix(const std::string& path, std::string& prefix, std::string& error) {
    std::vector<uint8_t> bytes;
    if (!path.empty() && !read_bytes(path, kPrefixLimit, bytes, error)) {
        return false;
    }
    prefix.assign(bytes.begin(), bytes.end());
    return true;
}

bool read_build_input(const PackOptions& options, BuildInput& input, std::string& error) {
    input.mark_all = options.mark_all;
    input.name_sha256 = options.name_sha256;
    input.prefix.notes = options.notes;
    input.prefix.version = options.version;
    input.prefix.build = options.build;
    Sources sources(options.format);
    RegionContents regions;
    std::vector<std::string> warnings;
    if (!parse_id("software id", options.swid, input.swid, error) ||
        !parse_hwids(options.hwids, input.prefix.hwids, error) || !read_sources(options, sources, error) ||
        !collect_regions(sources.list, regions, warnings, error) ||
        !read_prefix(options.prefix_file, input.prefix.bytes, error)) {
        return false;
    }
    for (const std::string& warning : warnings) {
        print_message("warning: " + warning);
    }
    for (size_t region = 0; region < kRegions; ++region) {
        input.regions[region] = *regions.at(region);
    }
    std::vector<std::string> paths = sources.paths();
    paths.push_back(options.prefix_file);
    return check_names(options.output, paths, error);
}

/// Prints what the checks found. False if that forbids the file.
bool check_regions(BuildInput& input, bool overrule, std::string& error) {
    for (const Finding& finding : check_content(input.regions[0], input.regions[1])) {
        print_message((overrule ? "warning: overruled: " : "") + finding.check + ": " + finding.text);
        std::vector<std::string>& overruled = input.prefix.overruled;
        if (std::find(overruled.begin(), overruled.end(), finding.check) == overruled.end()) {
            overruled.push_back(finding.check);
        }
    }
    if (!overrule && !input.prefix.overruled.empty()) {
        error = "nothing was written: correct the firmware, or overrule these checks with --force";
        return false;
    }
    return true;
}

bool tool_loads(const std::vector<uint8_t>& file, std::string& error) {
    McuDevice device(nullptr);
    if (parse_update_bytes(device, file)) {
        return true;
    }
    error = std::string("the new file does not load: ") + device.last_error.c_str();
    return false;
}

void print_report(std::FILE* out, const std::string& path, const Inspection& made) {
    std::fprintf(out, "file:                     %s\n", printable(path).c_str());
    std::fprintf(out, "software id:              0x%04x\n", made.info->swid_region0);
    for (int region = 0; region < kRegions; ++region) {
        std::fprintf(out, "region %d checksum:        0x%04x\n", region,
                     region == 0 ? made.info->crc_region0 : made.info->crc_region1);
        std::fprintf(out, "region %d marked pages:    %zu of %u\n", region,
                     programmed_in(made.body->marked_pages, region).size(), kProgrammedPages);
    }
    if (made.named_sha256) {
        std::fprintf(out, "sha256:                   %s\n", made.named_sha256->c_str());
    }
    std::fprintf(out, "size:                     %zu bytes\n", made.size);
}

}  // namespace

bool run_pack(const PackOptions& options, std::string& error) {
    BuildInput input;
    if (!read_build_input(options, input, error) || !check_regions(input, options.overrule, error)) {
        return false;
    }
    const BuildResult result = build_update_file(input);
    if (!result.error.empty()) {
        error = result.error;
        return false;
    }
    if (!tool_loads(result.file, error) || !save_file(options.output, options.replace, result.file, error)) {
        return false;
    }
    print_report(report_stream(options.output), options.output, inspect_update_file(result.file));
    return true;
}
