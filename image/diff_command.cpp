// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdio>
#include <optional>

#include "image/commands.h"
#include "image/comparison.h"
#include "image/host_file.h"
#include "image/inspector.h"
#include "util/printable.h"

namespace {

std::string describe_copy(const FlashCopy& copy) {
    if (copy.format == Format::kUpdateFile) {
        char text[48];
        std::snprintf(text, sizeof text, "update file, software id 0x%04x", copy.swid);
        return text;
    }
    if (copy.format == Format::kReadBack) {
        return format_name(copy.format);
    }
    const bool has_both = copy.holds_region(0) && copy.holds_region(1);
    return std::string(format_name(copy.format)) + (has_both               ? ", both regions"
                                                    : copy.holds_region(0) ? ", region 0"
                                                                           : ", region 1");
}

void print_copy(char name, const std::string& path, const FlashCopy& copy) {
    std::printf("%c:                        %s (%s)\n", name, printable(path).c_str(), describe_copy(copy).c_str());
    print_omitted(path, copy.omitted);
}

void print_region(const std::vector<uint16_t>& differing, const std::vector<uint16_t>& unread, int region) {
    std::printf("region %d differing pages: %s\n", region, page_ranges(differing).c_str());
    std::printf("region %d unread pages:    %s\n", region, page_ranges(unread).c_str());
}

/// Informational: no update writes these pages.
void print_never_programmed(const Comparison& found) {
    std::printf("never programmed, differ: %s\n", page_ranges(never_programmed(found.differing)).c_str());
    std::printf("never programmed, unread: %s\n", page_ranges(never_programmed(found.unread)).c_str());
}

void print_holds(bool differs, bool unread, int region) {
    const char* verb = differs ? "does not hold" : unread ? "may hold" : "holds";
    std::printf("the flash %s this file in region %d\n", verb, region);
}

/// Whether the region is asked for, and in both copies.
bool is_compared(const FlashCopy& a, const FlashCopy& b, std::optional<int> wanted, int region) {
    return (!wanted || *wanted == region) && a.holds_region(region) && b.holds_region(region);
}

/// Whether firmware has content in the last page of the region, which the other copy lacks.
bool lacks_last_page(const FlashCopy& a, const FlashCopy& b, const Comparison& found, int region) {
    const auto page = static_cast<uint16_t>(region * kRegionPages + kProgrammedPages);
    const bool differs = std::count(found.differing.begin(), found.differing.end(), page) > 0;
    return differs && (a.is_firmware() || b.is_firmware());
}

bool read_copies(const DiffOptions& options, FlashCopy& a, FlashCopy& b, std::string& error) {
    const std::optional<int> region = options.region;
    if (!check_names("", {options.a, options.b}, error) ||
        !read_flash_copy(options.a, options.format, region, a, error) ||
        !read_flash_copy(options.b, options.format, region, b, error)) {
        return false;
    }
    if (!is_compared(a, b, region, 0) && !is_compared(a, b, region, 1)) {
        error = region ? "not both files have region " + std::to_string(*region)
                       : std::string("the files have no region in common");
        return false;
    }
    return true;
}

}  // namespace

DiffResult run_diff(const DiffOptions& options, std::string& error) {
    FlashCopy a;
    FlashCopy b;
    if (!read_copies(options, a, b, error)) {
        return DiffResult::kTrouble;
    }
    print_copy('A', options.a, a);
    print_copy('B', options.b, b);
    const Comparison found = compare_copies(a, b);
    const bool has_one_read_back = (a.format == Format::kReadBack) != (b.format == Format::kReadBack);
    bool same = a.format != Format::kUpdateFile || b.format != Format::kUpdateFile || a.swid == b.swid;
    for (int i = 0; i < kRegions; ++i) {
        if (!is_compared(a, b, options.region, i)) {
            std::printf("region %d not compared\n", i);
            continue;
        }
        const std::vector<uint16_t> differing = programmed_in(found.differing, i);
        const std::vector<uint16_t> unread = programmed_in(found.unread, i);
        const bool differs = !differing.empty() || lacks_last_page(a, b, found, i);
        print_region(differing, unread, i);
        if (has_one_read_back) {
            print_holds(differs, !unread.empty(), i);
        }
        same = same && !differs && unread.empty();
    }
    print_never_programmed(found);
    return same ? DiffResult::kSame : DiffResult::kDifferent;
}
