// SPDX-License-Identifier: MIT
#include "image/inspector.h"

#include <algorithm>
#include <iterator>
#include <span>

#include "image/content_checks.h"
#include "image/flash_copy.h"
#include "update/file_notes.h"
#include "util/crc.h"
#include "util/sha256.h"

namespace {

RegionBody region_body(const std::vector<uint8_t>& flash, int region) {
    const auto content = std::span(flash).subspan(static_cast<size_t>(region) * kRegionSize, kRegionSize);
    return {region_checksum(flash, region), reset_vector(content.data(), region), can_start(content, region)};
}

FileBody read_body(const uint8_t* image) {
    const uint8_t* page_map = image + kMemorySize;
    FileBody body;
    std::copy_n(page_map + kFilePageMapSize, kFileFreeSize, body.free_bytes.emplace().begin());
    const std::vector<uint8_t> flash = programmed_flash(image, page_map);
    for (int region = 0; region < kRegions; ++region) {
        body.regions[region] = region_body(flash, region);
    }
    for (uint16_t page = 0; page < kMemoryPages; ++page) {
        if (page_map[page] != 0) {
            body.marked_pages.push_back(page);
        }
    }
    return body;
}

FileBody body_of(const FlashCopy& copy) {
    FileBody body;
    for (int region = 0; region < kRegions; ++region) {
        if (copy.holds_region(region)) {
            body.regions[region] = region_body(copy.memory, region);
        }
    }
    for (uint16_t page = 0; page < kMemoryPages; ++page) {
        if (!is_erased({copy.memory.data() + page * size_t{kPageSize}, kPageSize})) {
            body.marked_pages.push_back(page);
        }
    }
    return body;
}

}  // namespace

Inspection inspect_update_file(const std::vector<uint8_t>& bytes) {
    Inspection found;
    found.size = bytes.size();
    found.magic_offset = find_magic(bytes);
    if (!found.magic_offset) {
        return found;
    }
    const size_t start = *found.magic_offset + kFileMagicSize;
    const size_t left = bytes.size() - start;
    const uint8_t* content = bytes.data() + start;
    found.prefix.assign(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(*found.magic_offset));
    found.expected_size = start + kFileBodySize + kFileInfoSize;
    found.named_sha256 = named_value(found.prefix, "sha256");
    found.computed_sha256 = sha256_hex(content - kFileMagicSize, kFileMagicSize + left);
    if (left >= kFileBodySize) {
        found.body = read_body(content);
    }
    if (left >= kFileInfoSize) {
        found.info = decode_info(content + left - kFileInfoSize);
        found.computed_file_crc = crc16_buffer(kCrc16Start, content, left - sizeof(uint16_t));
    }
    return found;
}

bool inspect_input(const InputFile& input, std::optional<int> region, Inspection& found, std::string& error) {
    if (input.format == Format::kUpdateFile) {
        found = inspect_update_file(input.bytes);
        return true;
    }
    found.format = input.format;
    found.size = input.bytes.size();
    FlashCopy copy;
    if (make_flash_copy(input, region, copy, error)) {
        found.body = body_of(copy);
        found.omitted = copy.omitted;
    } else if (input.format == Format::kRaw) {
        found.trouble.swap(error);
    }
    return found.body.has_value() || input.format == Format::kRaw;
}

const char* vector_word(const ResetVector& vector) {
    return vector.kind == ResetVector::kJmp ? "jmp" : "rjmp";
}

bool sha256_fits(const Inspection& file) {
    return !file.named_sha256 || *file.named_sha256 == file.computed_sha256;
}

std::vector<uint16_t> programmed_in(const std::vector<uint16_t>& pages, int region) {
    std::vector<uint16_t> result;
    std::copy_if(pages.begin(), pages.end(), std::back_inserter(result),
                 [region](uint16_t page) { return is_programmed_page(page) && page / kRegionPages == region; });
    return result;
}

std::vector<uint16_t> never_programmed(const std::vector<uint16_t>& pages) {
    std::vector<uint16_t> result;
    std::remove_copy_if(pages.begin(), pages.end(), std::back_inserter(result), is_programmed_page);
    return result;
}

std::string page_ranges(const std::vector<uint16_t>& pages) {
    std::string text;
    for (size_t first = 0, last = 0; first < pages.size(); first = last + 1) {
        last = first;
        while (last + 1 < pages.size() && pages[last + 1] == pages[last] + 1) {
            ++last;
        }
        text += text.empty() ? "" : ", ";
        text += std::to_string(pages[first]);
        if (last != first) {
            text += '-' + std::to_string(pages[last]);
        }
    }
    return text.empty() ? "none" : text;
}
