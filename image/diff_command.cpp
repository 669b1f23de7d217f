// SPDX-License-Identifier: MIT
#include <cstdio>

#include "image/commands.h"
#include "image/comparison.h"
#include "image/inspector.h"

namespace {

void print_copy(char name, const std::string& path, const FlashCopy& copy) {
    if (copy.is_update_file) {
        std::printf("%c:                        %s (update file, software id 0x%04x)\n", name, path.c_str(), copy.swid);
    } else {
        std::printf("%c:                        %s (read-back)\n", name, path.c_str());
    }
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

}  // namespace

DiffResult run_diff(const std::string& path_a, const std::string& path_b, std::string& error) {
    FlashCopy a;
    FlashCopy b;
    if (!read_flash_copy(path_a, a, error) || !read_flash_copy(path_b, b, error)) {
        return DiffResult::kTrouble;
    }
    print_copy('A', path_a, a);
    print_copy('B', path_b, b);
    const Comparison found = compare_copies(a, b);
    bool same = !a.is_update_file || !b.is_update_file || a.swid == b.swid;
    for (int region = 0; region < kRegions; ++region) {
        const std::vector<uint16_t> differing = programmed_in(found.differing, region);
        const std::vector<uint16_t> unread = programmed_in(found.unread, region);
        print_region(differing, unread, region);
        if (a.is_update_file != b.is_update_file) {
            print_holds(!differing.empty(), !unread.empty(), region);
        }
        same = same && differing.empty() && unread.empty();
    }
    print_never_programmed(found);
    return same ? DiffResult::kSame : DiffResult::kDifferent;
}
