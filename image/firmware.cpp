// SPDX-License-Identifier: MIT
#include "image/firmware.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr uint32_t kRegionsEnd = kRegions * kRegionSize;

std::string place_text(const char* unit, const Piece& piece) {
    return unit + (' ' + std::to_string(piece.place));
}

/// The first address of the piece that is in neither region. REQUIRES: there is one.
uint32_t first_outside(const Piece& piece) {
    return std::max(piece.address, kRegionsEnd);
}

std::string check_place(const Piece& piece, const char* unit) {
    if (piece.address < kRegionsEnd && piece.bytes.size() <= kRegionsEnd - piece.address) {
        return {};
    }
    char text[128];
    std::snprintf(text, sizeof text, "%s: address 0x%x is outside both regions (0x0 to 0x%x)",
                  place_text(unit, piece).c_str(), first_outside(piece), kRegionsEnd - 1);
    return text;
}

std::string check_overlap(const Piece& lower, const Piece& upper, const char* unit) {
    if (upper.address - lower.address >= lower.bytes.size()) {
        return {};
    }
    const auto [first, second] = std::minmax(lower.place, upper.place);
    char text[128];
    std::snprintf(text, sizeof text, "%s %zu: address 0x%x is also in %s %zu", unit, second, upper.address, unit,
                  first);
    return text;
}

void put(const Piece& piece, RegionContents& regions) {
    for (size_t done = 0; done < piece.bytes.size();) {
        const uint32_t address = piece.address + static_cast<uint32_t>(done);
        const size_t offset = address % kRegionSize;
        const size_t count = std::min<size_t>(piece.bytes.size() - done, kRegionSize - offset);
        std::optional<RegionContent>& content = regions.at(address / kRegionSize);
        if (!content) {
            content.emplace();
        }
        content->resize(std::max(content->size(), offset + count), kErasedByte);
        std::copy_n(piece.bytes.begin() + static_cast<ptrdiff_t>(done), count,
                    content->begin() + static_cast<ptrdiff_t>(offset));
        done += count;
    }
}

}  // namespace

bool fill_regions(std::vector<Piece> pieces, const char* unit, RegionContents& regions, std::string& error) {
    // In the order of the file, so that the first wrong line is reported.
    for (const Piece& piece : pieces) {
        error = check_place(piece, unit);
        if (!error.empty()) {
            return false;
        }
    }
    std::stable_sort(pieces.begin(), pieces.end(),
                     [](const Piece& a, const Piece& b) { return a.address < b.address; });
    for (size_t i = 1; i < pieces.size(); ++i) {
        error = check_overlap(pieces[i - 1], pieces[i], unit);
        if (!error.empty()) {
            return false;
        }
    }
    for (const Piece& piece : pieces) {
        put(piece, regions);
    }
    return true;
}
