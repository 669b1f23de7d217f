// SPDX-License-Identifier: MIT
#include "image/builder.h"

#include <algorithm>

#include "image/flash_content.h"
#include "util/crc.h"
#include "util/little_endian.h"
#include "util/sha256.h"

namespace {

void put_page_map(uint8_t* page_map, const uint8_t* image, bool mark_all) {
    for (uint32_t page = 0; page < kMemoryPages; ++page) {
        // The mark of a last page has no effect, but shows that its content was meant to be programmed.
        page_map[page] = (mark_all && is_programmed_page(page)) || !is_erased({image + page * kPageSize, kPageSize});
    }
}

void put_info(uint8_t* info, uint16_t swid, const uint8_t* image, const uint8_t* page_map) {
    put_le16(info + kInfoSwidRegion0, swid);
    put_le16(info + kInfoSwidRegion1, swid);
    const std::vector<uint8_t> flash = programmed_flash(image, page_map);
    put_le16(info + kInfoCrcRegion0, region_checksum(flash, 0));
    put_le16(info + kInfoCrcRegion1, region_checksum(flash, 1));
    put_le32(info + kInfoRegionSize, kRegionSize);
    put_le16(info + kInfoPageSize, kPageSize);
    put_le32(info + kInfoMemorySize, kMemorySize);
    // One pass covers both: the body lies directly before the info structure.
    put_le16(info + kInfoFileCrc, crc16_buffer(kCrc16Start, info - kFileBodySize, kFileBodySize + kInfoFileCrc));
}

/// Makes the file from the magic to its end.
std::vector<uint8_t> assemble(const BuildInput& input) {
    std::vector<uint8_t> content(kFileMagicSize + kFileBodySize + kFileInfoSize);
    std::copy_n(kFileMagic, kFileMagicSize, content.begin());
    uint8_t* image = content.data() + kFileMagicSize;
    std::fill_n(image, kMemorySize, kErasedByte);
    for (uint32_t region = 0; region < kRegions; ++region) {
        std::copy(input.regions[region].begin(), input.regions[region].end(), image + region * kRegionSize);
    }
    uint8_t* page_map = image + kMemorySize;
    put_page_map(page_map, image, input.mark_all);
    put_info(image + kFileBodySize, input.swid, image, page_map);
    return content;
}

}  // namespace

BuildResult build_update_file(const BuildInput& input) {
    for (int region = 0; region < kRegions; ++region) {
        if (input.regions[region].size() > kRegionSize) {
            return {{}, "region " + std::to_string(region) + " is longer than 131072 bytes"};
        }
    }
    std::vector<uint8_t> file = assemble(input);
    std::string prefix;
    const std::string error =
        make_prefix(input.prefix, input.name_sha256 ? sha256_hex(file.data(), file.size()) : "", prefix);
    if (!error.empty()) {
        return {{}, error};
    }
    file.insert(file.begin(), prefix.begin(), prefix.end());
    return {file, {}};
}
