// SPDX-License-Identifier: MIT
#include "image/comparison.h"

#include <cstring>

namespace {

enum class Verdict { kSame, kDiffers, kUnread };

Verdict compare_segment(const FlashCopy& a, const FlashCopy& b, uint32_t segment) {
    const size_t offset = segment * kSegmentSize;
    const bool same = std::memcmp(a.memory.data() + offset, b.memory.data() + offset, kSegmentSize) == 0;
    if (same && (a.format != Format::kReadBack || b.format != Format::kReadBack)) {
        return Verdict::kSame;
    }
    if (looks_unread(a, segment) || looks_unread(b, segment)) {
        return Verdict::kUnread;
    }
    return same ? Verdict::kSame : Verdict::kDiffers;
}

}  // namespace

Comparison compare_copies(const FlashCopy& a, const FlashCopy& b) {
    Comparison result;
    const std::bitset<kMemoryPages> both = a.pages & b.pages;
    for (uint16_t page = 0; page < kMemoryPages; ++page) {
        if (!both.test(page)) {
            continue;
        }
        const size_t offset = page * kPageSize;
        const bool same = std::memcmp(a.memory.data() + offset, b.memory.data() + offset, kPageSize) == 0;
        if (same && (a.format != Format::kReadBack || b.format != Format::kReadBack)) {
            continue;
        }
        bool differs = false;
        bool unread = false;
        for (uint32_t i = 0; i < kPageSegments; ++i) {
            const Verdict verdict = compare_segment(a, b, uint32_t{page} * kPageSegments + i);
            differs = differs || verdict == Verdict::kDiffers;
            unread = unread || verdict == Verdict::kUnread;
        }
        if (differs) {
            result.differing.push_back(page);
        }
        if (unread) {
            result.unread.push_back(page);
        }
    }
    return result;
}
