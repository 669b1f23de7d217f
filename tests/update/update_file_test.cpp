// SPDX-License-Identifier: MIT
#include "update/update_file.h"

#include "tests/support/device_test.h"
#include "tests/support/update_file_bytes.h"

namespace {

class UpdateFile : public DeviceTest {
protected:
    bool load(const std::vector<uint8_t>& bytes) {
        const std::string path = write_temporary("update_file.svu", bytes);
        const bool ok = load_update_file(device, path.c_str());
        std::remove(path.c_str());
        return ok;
    }
};

}  // namespace

TEST_F(UpdateFile, LoadsAFileOfTheRightShape) {
    UpdateFileBytes file;
    file.fill_page(0);
    file.fill_page(300);
    file.reserved0 = 0x1111;
    file.reserved10 = 0x2222;
    const std::vector<uint8_t> bytes = file.bytes();
    ASSERT_EQ(bytes.size(), 270'902U);
    ASSERT_TRUE(load(bytes)) << device.last_error.c_str();
    EXPECT_EQ(device.file_reserved0, 0x1111);
    EXPECT_EQ(device.file_swid, 0x0123);
    EXPECT_EQ(device.file_crc0, file.region_crc(0));
    EXPECT_EQ(device.file_crc1, file.region_crc(1));
    EXPECT_EQ(device.file_reserved10, 0x2222);
    EXPECT_EQ(device.file_region_size, 0x20000U);
    EXPECT_EQ(device.file_page_size, 0x200);
    EXPECT_EQ(device.file_memory_size, 0x42000U);
    EXPECT_TRUE(std::equal(file.image.begin(), file.image.end(), device.file_image.get()));
    EXPECT_TRUE(std::equal(file.page_map.begin(), file.page_map.end(), device.file_page_map.get()));
}

TEST_F(UpdateFile, RefusesEveryOtherFileWithItsReason) {
    const auto changed = [](auto change) {
        UpdateFileBytes file;
        change(file);
        return file.bytes();
    };
    const auto edited = [](auto edit) {
        std::vector<uint8_t> bytes = UpdateFileBytes{}.bytes();
        edit(bytes);
        return bytes;
    };
    const std::string magic = "SVxMega\n";
    const struct {
        const char* what;
        std::vector<uint8_t> bytes;
        const char* text;
    } cases[] = {
        {"prefix of 1016", changed([](auto& f) { f.prefix = std::string(1016, 'p'); }), ""},
        {"prefix of 1017", changed([](auto& f) { f.prefix = std::string(1017, 'p'); }),
         "invalid file (could not find header)"},
        {"NUL in the prefix", changed([](auto& f) { f.prefix = std::string("a\0b", 3); }),
         "invalid file (could not find header)"},
        {"two magics", changed([&](auto& f) { f.prefix = magic; }), "invalid file (wrong size)"},
        {"empty", {}, "invalid file (could not find header)"},
        {"only the magic", {magic.begin(), magic.end()}, "could not seek in file for info structure"},
        {"short", edited([](auto& b) { b.resize(30); }), "invalid region size (hwid mismatch)"},
        {"one byte less", edited([](auto& b) { b.erase(b.begin() + 100); }), "invalid file (wrong size)"},
        {"one byte more", edited([](auto& b) { b.insert(b.begin() + 100, uint8_t{0xFF}); }),
         "invalid file (wrong size)"},
        {"software ids", changed([](auto& f) { f.swid1 = 0x0124, f.region_size = 1; }),
         "invalid swid (region mismatch)"},
        {"region size", changed([](auto& f) { f.region_size = 0x20001, f.page_size = 1; }),
         "invalid region size (hwid mismatch)"},
        {"page size", changed([](auto& f) { f.page_size = 0x100, f.memory_size = 1; }),
         "invalid page size (hwid mismatch)"},
        {"memory size", changed([](auto& f) { f.memory_size = 0x1042000; }), "invalid memory size (hwid mismatch)"},
        {"checksum", changed([](auto& f) { f.crc_error = 0x8000; }), "invalid file (CRC error)"},
        {"image", edited([](auto& b) { b[8] ^= 1; }), "invalid file (CRC error)"},
        {"page map", edited([](auto& b) { b[8 + 0x42000 + 527] ^= 1; }), "invalid file (CRC error)"},
        {"free bytes", edited([](auto& b) { b[8 + 0x42000 + 528 + 5] ^= 1; }), "invalid file (CRC error)"},
        {"reserved word", edited([](auto& b) { b[b.size() - 14] ^= 1; }), "invalid file (CRC error)"}};
    for (const auto& c : cases) {
        device.last_error = "";
        EXPECT_EQ(load(c.bytes), *c.text == '\0') << c.what;
        EXPECT_EQ(device.last_error, c.text) << c.what;
    }
}

TEST_F(UpdateFile, RefusesWhatIsNoFile) {
    const struct {
        const char* path;
        const char* text;
    } cases[] = {{"/does/not/exist", "could not open file"},
                 {"/", "invalid file (could not find header)"},
                 {"/dev/null", "invalid file (could not find header)"},
                 {"/dev/zero", "invalid file (could not find header)"}};
    for (const auto& c : cases) {
        EXPECT_FALSE(load_update_file(device, c.path));
        EXPECT_EQ(device.last_error, c.text) << c.path;
    }
}

namespace {

/// A good file on a medium that fails.
struct FailingFile {
    enum Failure { kInfo, kSeekBack, kImage } failure;
    std::vector<uint8_t> bytes = UpdateFileBytes{}.bytes();
    size_t position = 0;
};

ssize_t read_failing(void* cookie, char* to, size_t count) {
    auto& file = *static_cast<FailingFile*>(cookie);
    const bool in_info = file.position >= file.bytes.size() - 24;
    const bool in_image = file.position >= 100'000 && !in_info;
    if ((file.failure == FailingFile::kInfo && in_info) || (file.failure == FailingFile::kImage && in_image)) {
        return 0;
    }
    count = std::min(count, file.bytes.size() - file.position);
    std::copy_n(file.bytes.begin() + static_cast<std::ptrdiff_t>(file.position), count, to);
    file.position += count;
    return static_cast<ssize_t>(count);
}

int seek_failing(void* cookie, off64_t* offset, int origin) {
    auto& file = *static_cast<FailingFile*>(cookie);
    if (file.failure == FailingFile::kSeekBack && origin == SEEK_SET) {
        return -1;
    }
    const size_t from = origin == SEEK_END ? file.bytes.size() : origin == SEEK_CUR ? file.position : 0;
    *offset += static_cast<off64_t>(from);
    file.position = static_cast<size_t>(*offset);
    return 0;
}

}  // namespace

TEST_F(UpdateFile, AFailingMediumIsNoFile) {
    const struct {
        FailingFile::Failure failure;
        const char* text;
    } cases[] = {{FailingFile::kInfo, "could not read info structure"},
                 {FailingFile::kSeekBack, "could not seek in file for start"},
                 {FailingFile::kImage, "could not read file"}};
    for (const auto& c : cases) {
        FailingFile bad{c.failure};
        std::FILE* file = fopencookie(&bad, "rb", {read_failing, nullptr, seek_failing, nullptr});
        EXPECT_FALSE(parse_update_file(device, file));
        EXPECT_EQ(device.last_error, c.text);
        std::fclose(file);
    }
}

TEST_F(UpdateFile, WhatSurvivesAFailure) {
    UpdateFileBytes good;
    good.fill_page(1);
    ASSERT_TRUE(load(good.bytes()));
    UpdateFileBytes bad;
    bad.swid0 = 0x0777;
    bad.reserved0 = 0x5555;
    bad.reserved10 = 0x6666;
    EXPECT_FALSE(load(bad.bytes()));
    EXPECT_EQ(device.file_swid, 0x0777);
    EXPECT_EQ(device.file_reserved0, 0x5555);
    EXPECT_EQ(device.file_reserved10, 0);
    EXPECT_EQ(device.file_crc0, good.region_crc(0));

    bad.swid1 = 0x0777;
    bad.memory_size = 7;
    EXPECT_FALSE(load(bad.bytes()));
    EXPECT_EQ(device.file_memory_size, 7U);
    EXPECT_EQ(device.file_reserved10, 0x6666);
    EXPECT_EQ(device.file_page_map[1], 1);  // still the good file's

    bad.memory_size = 0x42000;
    bad.crc_error = 1;
    EXPECT_FALSE(load(bad.bytes()));
    EXPECT_EQ(device.file_page_map[1], 0);
}
