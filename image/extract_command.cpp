// SPDX-License-Identifier: MIT
#include <cstdio>

#include "image/commands.h"
#include "image/flash_copy.h"
#include "image/inspector.h"

namespace {

constexpr uint32_t kRegionSegments = kRegionPages * kPageSegments;

void warn_of_unread(const FlashCopy& copy, int region) {
    size_t segments = 0;
    std::vector<uint16_t> pages;
    const uint32_t first = static_cast<uint32_t>(region) * kRegionSegments;
    for (uint32_t segment = first; segment < first + kRegionSegments; ++segment) {
        if (!looks_unread(copy, segment)) {
            continue;
        }
        ++segments;
        const auto page = static_cast<uint16_t>(segment / kPageSegments);
        if (pages.empty() || pages.back() != page) {
            pages.push_back(page);
        }
    }
    if (segments > 0) {
        std::fprintf(stderr, "sv_image: warning: %zu segments hold only 0x55 and may be unread (pages: %s)\n", segments,
                     page_ranges(pages).c_str());
    }
}

}  // namespace

bool run_extract(const ExtractOptions& options, std::string& error) {
    FlashCopy copy;
    if (!read_flash_copy(options.file, copy, error) || is_one_of(options.output, {options.file}, error)) {
        return false;
    }
    const auto begin = copy.memory.begin() + options.region * static_cast<ptrdiff_t>(kRegionSize);
    const std::vector<uint8_t> content(begin, begin + kRegionSize);
    if (!save_file(options.output, options.replace, Content::kAny, content, error)) {
        return false;
    }
    warn_of_unread(copy, options.region);
    std::printf("file:                     %s\n", options.output.c_str());
    std::printf("region %d checksum:        0x%04x\n", options.region, region_checksum(copy.memory, options.region));
    std::printf("size:                     %zu bytes\n", content.size());
    return true;
}
