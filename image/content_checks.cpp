// SPDX-License-Identifier: MIT
#include "image/content_checks.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "image/flash_content.h"
#include "image/input_file.h"
#include "update/reset_vector.h"

namespace {

using Content = std::span<const uint8_t>;

std::string describe(const char* format, ...) __attribute__((format(printf, 1, 2)));

std::string describe(const char* format, ...) {
    char text[160];
    std::va_list values;
    va_start(values, format);
    // Result ignored: every text fits.
    (void)std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    return text;
}

/// Without the erased bytes at its end.
Content trimmed(Content content) {
    while (!content.empty() && content.back() == kErasedByte) {
        content = content.first(content.size() - 1);
    }
    return content;
}

/// The first instruction, from erased flash where the content ends before.
ResetVector vector_of(Content content, int region) {
    uint8_t first[kVectorSize];
    std::fill(std::begin(first), std::end(first), kErasedByte);
    std::copy_n(content.begin(), std::min(content.size(), kVectorSize), first);
    return reset_vector(first, region);
}

bool is_control(uint8_t byte) {
    return (byte < ' ' && byte != '\n' && byte != '\r' && byte != '\t') || byte == 0x7F;
}

/// Text in any encoding that contains ASCII. Code has control characters soon.
bool is_text(Content content) {
    const Content start = content.first(std::min<size_t>(content.size(), 64));
    const auto others = std::count_if(start.begin(), start.end(), [](uint8_t byte) { return byte >= 0x80; });
    return std::none_of(start.begin(), start.end(), is_control) && others * 2 < static_cast<ptrdiff_t>(start.size());
}

/// What begins like another format; null: it does not.
const char* other_format(Content content) {
    const Format format = detect_format(content);
    if (format != Format::kRaw && format != Format::kReadBack) {
        return format_name(format);
    }
    const std::string_view start(reinterpret_cast<const char*>(content.data()), content.size());
    if (start.starts_with("\x1f\x8b") || start.starts_with("PK\x03\x04") ||
        start.starts_with("\xfd"
                          "7zXZ")) {
        return "compressed file";
    }
    return is_text(content) ? "text" : nullptr;
}

std::string vector_text(Content content, int region) {
    const ResetVector vector = vector_of(content, region);
    const int target = region_at(vector.target);
    if (vector.kind == ResetVector::kNone) {
        return describe("region %d does not begin with a jump: it is no program, or begins elsewhere", region);
    }
    if (target < 0) {
        return describe("region %d begins with a jump to 0x%05x, where no program can be", region, vector.target);
    }
    if (target != region) {
        return describe("region %d begins with a jump to 0x%05x, in region %d: it is linked for that region", region,
                        vector.target, target);
    }
    return leads_into_region(vector, region)
               ? describe("region %d begins with a jump to 0x%05x, which is erased: its program is cut off", region,
                          vector.target)
               : describe("region %d begins with a jump to itself: it is not linked", region);
}

std::string last_page_text(Content content, int region) {
    const auto begin = content.begin() + static_cast<ptrdiff_t>(kChecksumSize);
    const auto byte = std::find_if(begin, content.end(), [](uint8_t value) { return value != kErasedByte; });
    return describe("region %d holds 0x%02x at offset 0x%zx, in its last page, which no update programs", region, *byte,
                    static_cast<size_t>(byte - content.begin()));
}

/// REQUIRES: trimmed content.
std::vector<Finding> check_region(Content content, int region) {
    if (content.empty()) {
        return {{"empty", describe("region %d is empty, and the MCU would start it nevertheless", region)}};
    }
    std::vector<Finding> findings;
    if (const char* format = other_format(content); format != nullptr) {
        findings.push_back(
            {"format", describe("region %d holds another format (%s), not the content of flash", region, format)});
    } else if (!can_start(content, region)) {
        findings.push_back({"vector", vector_text(content, region)});
    }
    if (content.size() > kChecksumSize) {
        findings.push_back({"last-page", last_page_text(content, region)});
    }
    return findings;
}

/// Whether the content of the other region begins with the address of this one.
bool leads_to(Content content, int region) {
    const ResetVector vector = vector_of(content, 1 - region);
    return vector.kind == ResetVector::kJmp && region_at(vector.target) == region;
}

}  // namespace

bool can_start(Content content, int region) {
    const ResetVector vector = vector_of(content, region);
    const size_t target = vector.target % kRegionSize;
    return leads_into_region(vector, region) && target < content.size() &&
           (target + 1 == content.size() || !is_erased_word(&content[target]));
}

std::vector<Finding> check_content(Content region0, Content region1) {
    const Content contents[kRegions] = {trimmed(region0), trimmed(region1)};
    const bool swapped = leads_to(contents[0], 1) && leads_to(contents[1], 0);
    std::vector<Finding> findings;
    for (int region = 0; region < kRegions; ++region) {
        for (const Finding& finding : check_region(contents[region], region)) {
            if (!swapped || finding.check != "vector") {
                findings.push_back(finding);
            }
        }
    }
    if (swapped) {
        findings.push_back({"swapped", "the regions are swapped: each begins with a jump into the other one"});
    }
    if (!contents[0].empty() &&
        std::equal(contents[0].begin(), contents[0].end(), contents[1].begin(), contents[1].end())) {
        findings.push_back({"alike", "both regions hold the same, but a program is linked for one of them"});
    }
    return findings;
}
