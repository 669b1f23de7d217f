// SPDX-License-Identifier: MIT
#include "sim/flash_model.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "util/crc.h"

namespace sim {

namespace {

constexpr uint32_t kAllSegments = (1U << kPageSegments) - 1;
constexpr uint16_t kFirstSwid = 0x0100;
constexpr uint8_t kFirstJump[] = {0x0C, 0x94, 0xFA, 0x00};  // jmp over the vectors, to word 0xFA

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
    std::copy(std::begin(kFirstJump), std::end(kFirstJump), program.begin());
    install(0, program, kFirstSwid);
    running_region = 0;
}

void FlashModel::install(int region, std::span<const uint8_t> program, uint16_t swid) {
    clear(region, kRegionPages);
    std::copy(program.begin(), program.end(),
              memory_.begin() + static_cast<std::ptrdiff_t>(region) * static_cast<std::ptrdiff_t>(kRegionSize));
    regions[static_cast<size_t>(region)] = {swid, true, checksum(region)};
    latest = region;
}

void FlashModel::restore(std::vector<uint8_t> memory, int running) {
    memory_ = std::move(memory);
    checksums_ = {};
    running_region = running;
}

void FlashModel::restore(const FlashState& state) {
    static_cast<FlashState&>(*this) = state;
}

int FlashModel::next_start(int preferred) const {
    const auto can_start = [&](int region) {
        const RegionState& state = regions[static_cast<size_t>(region)];
        return state.enabled && state.checksum == checksum(region);
    };
    const int first = preferred >= 0 ? preferred : latest;
    if (can_start(first)) {
        return first;
    }
    return can_start(1 - first) ? 1 - first : -1;
}

void FlashModel::boot(int preferred) {
    segments_lost = segments_lost || buffer_segments != 0;
    buffer_segments = 0;
    running_region = next_start(preferred);
    history.push_back({RegionEvent::kStarted, running()});
}

void FlashModel::touch(int region) {
    const auto index = static_cast<size_t>(region);
    checksums_[index].reset();
    ++writes_[index];
}

void FlashModel::clear(int region, uint32_t pages) {
    const auto start = memory_.begin() + static_cast<std::ptrdiff_t>(region) * static_cast<std::ptrdiff_t>(kRegionSize);
    std::fill(start, start + static_cast<std::ptrdiff_t>(pages) * kPageSize, uint8_t{0xFF});
    touch(region);
}

uint16_t FlashModel::checksum(int region) const {
    std::optional<uint16_t>& known = checksums_[static_cast<size_t>(region)];
    if (!known) {
        known = crc16_buffer(kCrc16Start, memory_.data() + static_cast<size_t>(region) * kRegionSize, kChecksumSize);
    }
    return *known;
}

Verdict FlashModel::erase_other() {
    clear(other(), kRegionPages);
    regions[static_cast<size_t>(other())] = {};
    buffer_segments = 0;
    history.push_back({RegionEvent::kErased, other()});
    return {};
}

void FlashModel::tear_erase(uint32_t pages) {
    clear(other(), pages);
    history.push_back({RegionEvent::kErased, other()});
}

Verdict FlashModel::check_page(uint16_t page) const {
    const int region = page / kRegionPages;
    if (region == running()) {
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
    if (page != buffer_page) {
        buffer_page = page;
        buffer_segments = 0;
    }
    if (segment == 0) {
        segments_lost = false;
    }
    std::copy(data.begin(), data.end(), buffer.begin() + segment * kSegmentSize);
    buffer_segments |= 1U << segment;
    return {};
}

Verdict FlashModel::commit(uint16_t page, uint16_t checksum) {
    return tear_commit(page, checksum, kPageSize);
}

Verdict FlashModel::tear_commit(uint16_t page, uint16_t checksum, uint32_t bytes) {
    if (Verdict verdict = check_page(page); !verdict.ok) {
        return verdict;
    }
    if (page != buffer_page || buffer_segments != kAllSegments) {
        return segments_lost ? refuse() : violation(page_text("page %u is committed without all its segments", page));
    }
    if (crc16_buffer(kCrc16Start, buffer.data(), buffer.size()) != checksum) {
        return violation(page_text("page %u is committed with a wrong checksum", page));
    }
    uint8_t* flash = memory_.data() + size_t{page} * kPageSize;
    for (size_t i = 0; i < kPageSize; ++i) {
        // Programming can only clear bits.
        if ((flash[i] & buffer[i]) != buffer[i]) {
            return violation(page_text("page %u is written onto flash that is not erased", page));
        }
    }
    std::copy_n(buffer.begin(), bytes, flash);
    touch(page / kRegionPages);
    buffer_segments = 0;
    return {};
}

Verdict FlashModel::enable_other(uint16_t swid, uint16_t expected) {
    if (checksum(other()) != expected) {
        return refuse();
    }
    regions[static_cast<size_t>(other())] = {swid, true, expected};
    latest = other();
    history.push_back({RegionEvent::kEnabled, other()});
    return {};
}

Verdict FlashModel::disable_running() {
    if (!regions[static_cast<size_t>(other())].enabled) {
        return violation("the running region is disabled while the other one is not enabled");
    }
    regions[static_cast<size_t>(running())].enabled = false;
    history.push_back({RegionEvent::kDisabled, running()});
    return {};
}

std::optional<std::span<const uint8_t>> FlashModel::segment(uint16_t page, uint8_t segment) const {
    if (page >= kMemoryPages || segment >= kPageSegments) {
        return std::nullopt;
    }
    return std::span(memory_).subspan(size_t{page} * kPageSize + size_t{segment} * kSegmentSize, kSegmentSize);
}

}  // namespace sim
