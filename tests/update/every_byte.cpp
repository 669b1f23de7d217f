// SPDX-License-Identifier: MIT
// A program of its own, since it takes most of a minute: every byte of an update file is changed in turn, and none of
// these files loads.
#include <algorithm>
#include <map>
#include <numeric>
#include <random>

#include "tests/support/device_test.h"
#include "tests/support/update_file_bytes.h"
#include "update/update_file.h"

namespace {

constexpr size_t kFileSize = 270'902;
constexpr size_t kInfo = kFileSize - 24;

/// What a change at this place must be refused with.
const char* reason(size_t at) {
    const auto info_from = [at](size_t first, size_t end) { return at >= kInfo + first && at < kInfo + end; };
    if (at < 8) {
        return "invalid file (could not find header)";
    }
    if (info_from(2, 6)) {
        return "invalid swid (region mismatch)";
    }
    if (info_from(12, 16)) {
        return "invalid region size (hwid mismatch)";
    }
    if (info_from(16, 18)) {
        return "invalid page size (hwid mismatch)";
    }
    return info_from(18, 22) ? "invalid memory size (hwid mismatch)" : "invalid file (CRC error)";
}

/// All places; where they take too long, the magic, the info structure and a sample of what lies between.
std::vector<size_t> places(std::mt19937& random) {
    std::vector<size_t> all(kFileSize);
    std::iota(all.begin(), all.end(), size_t{0});
    std::shuffle(all.begin() + 8, all.end() - 24, random);
#ifndef SV_EVERY_BYTE
    all.erase(all.begin() + 3'000, all.end() - 24);
#endif
    return all;
}

}  // namespace

TEST_F(DeviceTest, NoFileWithAChangedByteLoads) {
    UpdateFileBytes good;
    good.fill_all_pages();
    std::vector<uint8_t> bytes = good.bytes();
    ASSERT_EQ(bytes.size(), kFileSize);
    const auto parse = [&] {
        std::FILE* file = fmemopen(bytes.data(), bytes.size(), "rb");
        const bool ok = parse_update_file(device, file);
        std::fclose(file);
        return ok;
    };
    ASSERT_TRUE(parse());

    std::mt19937 random(20'261'122);
    std::map<std::string, size_t> refused;
    for (const size_t at : places(random)) {
        const auto change = static_cast<uint8_t>(1 + random() % 255);
        bytes[at] ^= change;
        ASSERT_FALSE(parse()) << "byte " << at << " xor " << int{change};
        ASSERT_EQ(device.last_error, reason(at)) << "byte " << at << " xor " << int{change};
        bytes[at] ^= change;
        ++refused[device.last_error.c_str()];
    }
    size_t total = 0;
    for (const auto& [text, count] : refused) {
        std::printf("%7zu  %s\n", count, text.c_str());
        total += count;
    }
    std::printf("%7zu  of %zu files with one changed byte refused\n", total, kFileSize);
#ifdef SV_EVERY_BYTE
    EXPECT_EQ(total, kFileSize);
#endif
    EXPECT_EQ(refused["invalid file (could not find header)"], 8U);
    EXPECT_TRUE(parse()) << "the file is as it was";
}
