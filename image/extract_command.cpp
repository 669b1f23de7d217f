// SPDX-License-Identifier: MIT
#include <cstdio>

#include "image/commands.h"
#include "image/flash_copy.h"
#include "image/host_file.h"
#include "image/inspector.h"
#include "util/printable.h"

namespace {

constexpr uint32_t kRegionSegments = kRegionPages * kPageSegments;

void warn_of_unread(const FlashCopy& copy, int region) {
    if (copy.format != Format::kReadBack) {
        return;
    }
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
        print_message("warning: " + std::to_string(segments) +
                      " segments hold only 0x55 and may be unread (pages: " + page_ranges(pages) + ")");
    }
}

}  // namespace

bool run_extract(const ExtractOptions& options, std::string& error) {
    FlashCopy copy;
    if (!check_names(options.output, {options.file}, error) ||
        !read_flash_copy(options.file, options.format, options.region, copy, error)) {
        return false;
    }
    if (!copy.holds_region(options.region)) {
        error = shown_path(options.file) + " holds nothing for region " + std::to_string(options.region);
        return false;
    }
    print_omitted(options.file, copy.omitted);
    const auto begin = copy.memory.begin() + options.region * static_cast<ptrdiff_t>(kRegionSize);
    const std::vector<uint8_t> content(begin, begin + kRegionSize);
    if (!save_file(options.output, options.replace, content, error)) {
        return false;
    }
    warn_of_unread(copy, options.region);
    std::FILE* out = report_stream(options.output);
    std::fprintf(out, "file:                     %s\n", printable(options.output).c_str());
    std::fprintf(out, "region %d checksum:        0x%04x\n", options.region,
                 region_checksum(copy.memory, options.region));
    std::fprintf(out, "size:                     %zu bytes\n", content.size());
    return true;
}
