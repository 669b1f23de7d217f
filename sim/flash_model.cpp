// SPDX-License-Identifier: MIT
#include "sim/flash_model.h"

#include <algorithm>
#include <cstdio>

#include "util/crc.h"

namespace sim {

namespace {

constexpr uint32_t kAllSegments = (1U << kPageSegments) - 1;
constexpr uint16_t kFirstSwid = 0x0100;

std::string page_text(const char* format, uint16_t page) {
    char text[96];
    std::snprintf(text, sizeof text, format, page);
    return text;
}

}  // namespace

Verdict refuse() {
    return {false, ""};
}

Verdict violation(std::string text) {
    return {false, std::move(text)};
}

FlashModel::FlashModel() {
    std::vector<uint8_t> program(24 * kPageSize);
    uint32_t noise = 1;
    for (uint8_t& byte : program) {
        noise = noise * 1664525 + 1013904223;
        byte = static_cast<uint8_t>(noise >> 24);
    }
    install(0, program, kFirstSwid);
    running_ = 0;
}

void FlashModel::install(int region, std::span<const uint8_t> program, uint16_t swid) {
    const auto start = memory_.begin() + static_cast<std::ptrdiff_t>(region) * kRegionSize;
    std::fill(start, start + kRegionSize, uint8_t{0xFF});
    std::copy(program.begin(), program.end(), start);
    const auto index = static_cast<size_t>(region);
    checksums_[index].reset();
    regions[index] = {swid, true, checksum(region)};
    latest = region;
}

void FlashModel::restore(std::vector<uint8_t> memory, int running) {
    memory_ = std::move(memory);
    checksums_ = {};
    running_ = running;
}

void FlashModel::boot(int preferred) {
    buffer_segments_ = 0;
    const auto can_start = [&](int region) {
        const RegionState& state = regions[static_cast<size_t>(region)];
        return state.enabled && state.checksum == checksum(region);
    };
    const int first = preferred >= 0 ? preferred : latest;
    if (can_start(first)) {
        running_ = first;
    } else {
        running_ = can_start(1 - first) ? 1 - first : -1;
    }
}

uint16_t FlashModel::checksum(int region) const {
    std::optional<uint16_t>& known = checksums_[static_cast<size_t>(region)];
    if (!known) {
        known = crc16_buffer(kCrc16Start, memory_.data() + static_cast<size_t>(region) * kRegionSize, kChecksumSize);
    }
    return *known;
}

Verdict FlashModel::erase_other() {
    const auto region = static_cast<size_t>(other());
    const auto start = memory_.begin() + static_cast<std::ptrdiff_t>(region) * kRegionSize;
    std::fill(start, start + kRegionSize, uint8_t{0xFF});
    checksums_[region].reset();
    regions[region] = {};
    buffer_segments_ = 0;
    return {};
}

Verdict FlashModel::check_page(uint16_t page) const {
    const int region = page / kRegionPages;
    if (region == running_) {
        return violation(page_text("page %u belongs to the running region", page));
    }
    if (region > 1 || page % kRegionPages == kProgrammedPages) {
        return violation(page_text("page %u is never programmed", page));
    }
    return {};
}

Verdict FlashModel::write_segment(uint16_t page, uint8_t segment, std::span<const uint8_t> data) {
    if (Verdict verdict = check_page(page); !verdict.ok) {
        return verdict;
    }
    if (segment >= kPageSegments) {
        return violation(page_text("a segment of page %u lies outside the page", page));
    }
    if (page != buffer_page_) {
        buffer_page_ = page;
        buffer_segments_ = 0;
    }
    std::copy(data.begin(), data.end(), buffer_.begin() + segment * kSegmentSize);
    buffer_segments_ |= 1U << segment;
    return {};
}

Verdict FlashModel::commit(uint16_t page, uint16_t checksum) {
    if (Verdict verdict = check_page(page); !verdict.ok) {
        return verdict;
    }
    if (page != buffer_page_ || buffer_segments_ != kAllSegments) {
        return violation(page_text("page %u is committed without all its segments", page));
    }
    if (crc16_buffer(kCrc16Start, buffer_.data(), buffer_.size()) != checksum) {
        return violation(page_text("page %u is committed with a wrong checksum", page));
    }
    uint8_t* flash = memory_.data() + size_t{page} * kPageSize;
    for (size_t i = 0; i < kPageSize; ++i) {
        // Programming only clears bits.
        if ((flash[i] & buffer_[i]) != buffer_[i]) {
            return violation(page_text("page %u is written onto flash that is not erased", page));
        }
    }
    std::copy(buffer_.begin(), buffer_.end(), flash);
    checksums_[page / kRegionPages].reset();
    buffer_segments_ = 0;
    return {};
}

Verdict FlashModel::enable_other(uint16_t swid, uint16_t expected) {
    if (checksum(other()) != expected) {
        return refuse();
    }
    regions[static_cast<size_t>(other())] = {swid, true, expected};
    latest = other();
    return {};
}

Verdict FlashModel::disable_running() {
    if (!regions[static_cast<size_t>(other())].enabled) {
        return violation("the running region is disabled while the other one is not enabled");
    }
    regions[static_cast<size_t>(running_)].enabled = false;
    return {};
}

std::optional<std::span<const uint8_t>> FlashModel::segment(uint16_t page, uint8_t segment) const {
    if (page >= kMemoryPages || segment >= kPageSegments) {
        return std::nullopt;
    }
    return std::span(memory_).subspan(size_t{page} * kPageSize + size_t{segment} * kSegmentSize, kSegmentSize);
}

}  // namespace sim
