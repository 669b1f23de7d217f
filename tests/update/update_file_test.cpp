// SPDX-License-Identifier: MIT
// Which files are refused, and why.
#include "update/update_file.h"

#include "tests/support/device_test.h"
#include "tests/support/update_file_bytes.h"

namespace {

const char kNoHeader[] = "invalid file (could not find header)";
const char kWrongSize[] = "invalid file (wrong size)";
const char kBadCrc[] = "invalid file (CRC error)";

class UpdateFile : public DeviceTest {
protected:
    /// The reason, or nothing.
    std::string load(const std::string& path) {
        return load_update_file(device, path.c_str()) ? "" : last_error();
    }

    std::string load(std::span<const uint8_t> bytes) {
        const std::string path = write_temporary("update_file.svu", bytes);
        std::string reason = load(path);
        std::remove(path.c_str());
        return reason;
    }
};

}  // namespace

TEST_F(UpdateFile, IsRefusedWithAReason) {
    const auto changed = [](auto change) {
        UpdateFileBytes file;
        change(file);
        return file.bytes();
    };
    const auto edited = [](auto edit) {
        Bytes bytes = UpdateFileBytes{}.bytes();
        edit(bytes);
        return bytes;
    };
    const auto text = [](const std::string& words) { return Bytes(words.begin(), words.end()); };
    const std::string magic = "SVxMega\n";
    const struct {
        const char* what;
        Bytes bytes;
        const char* reason;
    } cases[] = {
        {"reserved words", changed([](auto& f) { f.reserved0 = 0x1111, f.reserved10 = 0x2222; }), ""},
        {"prefix of 1016", changed([](auto& f) { f.prefix = std::string(1016, 'p'); }), ""},
        {"prefix of 1017", changed([](auto& f) { f.prefix = std::string(1017, 'p'); }), kNoHeader},
        {"NUL in the prefix", changed([](auto& f) { f.prefix = std::string("a\0b", 3); }), kNoHeader},
        {"two magics", changed([&](auto& f) { f.prefix = magic; }), kWrongSize},
        {"empty", {}, kNoHeader},
        {"seven bytes of the magic", text("SVxMega"), kNoHeader},
        {"line end of another system", text("SVxMega\r\n" + std::string(300'000, 'x')), kNoHeader},
        {"only the magic", text(magic), "could not seek in file for info structure"},
        {"23 bytes", text(magic + std::string(15, '\0')), "could not seek in file for info structure"},
        {"24 bytes, the magic taken for the software ids", text(magic + std::string(16, '\0')),
         "invalid swid (region mismatch)"},
        {"half", edited([](auto& b) { b.resize(b.size() / 2); }), "invalid region size (hwid mismatch)"},
        {"its last byte lost", edited([](auto& b) { b.pop_back(); }), "invalid swid (region mismatch)"},
        {"one byte less", edited([](auto& b) { b.erase(b.begin() + 100); }), kWrongSize},
        {"one byte more", edited([](auto& b) { b.insert(b.begin() + 100, uint8_t{0xFF}); }), kWrongSize},
        {"software ids", changed([](auto& f) { f.swid1 = 0x0124, f.region_size = 1; }),
         "invalid swid (region mismatch)"},
        {"region size", changed([](auto& f) { f.region_size = 0x20001, f.page_size = 1; }),
         "invalid region size (hwid mismatch)"},
        {"page size", changed([](auto& f) { f.page_size = 0x100, f.memory_size = 1; }),
         "invalid page size (hwid mismatch)"},
        {"memory size", changed([](auto& f) { f.memory_size = 0x1042000; }), "invalid memory size (hwid mismatch)"},
        {"checksum", changed([](auto& f) { f.crc_error = 0x8000; }), kBadCrc}};
    for (const auto& c : cases) {
        EXPECT_EQ(load(c.bytes), c.reason) << c.what;
    }
    for (const char* path : {"/", "/dev/null", "/dev/zero"}) {
        EXPECT_EQ(load(path), kNoHeader) << path;
    }
    for (const std::string& path : {std::string("/does/not/exist"), std::string(5000, 'x')}) {
        EXPECT_EQ(load(path), "could not open file") << path;
    }
}

TEST_F(UpdateFile, LoadsWholeAndNoByteOfItMayChange) {
    UpdateFileBytes good;
    good.fill_all_pages();
    Bytes bytes = good.bytes();
    ASSERT_EQ(bytes.size(), 270'902U);
    const size_t info = bytes.size() - 24;
    ASSERT_EQ(load(bytes), "");
    EXPECT_TRUE(std::equal(good.image.begin(), good.image.end(), device.file_image.get()));
    EXPECT_TRUE(std::equal(good.page_map.begin(), good.page_map.end(), device.file_page_map.get()));
    // A sample of the image; each byte of the magic, and of all after the image.
    for (size_t at = 0; at < bytes.size(); at += at < 8 || at >= 8 + 0x42000 ? 1 : 126) {
        const auto in_info = [&](size_t first, size_t end) { return at >= info + first && at < info + end; };
        const char* reason = at < 8            ? kNoHeader
                             : in_info(2, 6)   ? "invalid swid (region mismatch)"
                             : in_info(12, 16) ? "invalid region size (hwid mismatch)"
                             : in_info(16, 18) ? "invalid page size (hwid mismatch)"
                             : in_info(18, 22) ? "invalid memory size (hwid mismatch)"
                                               : kBadCrc;
        const auto change = static_cast<uint8_t>(1 + at % 255);
        bytes[at] ^= change;
        std::FILE* file = fmemopen(bytes.data(), bytes.size(), "rb");
        ASSERT_FALSE(parse_update_file(device, file)) << at;
        ASSERT_EQ(last_error(), reason) << at;
        std::fclose(file);
        bytes[at] ^= change;
    }
}

namespace {

/// A good file on a medium that cannot read from `bad_from` to `bad_end`, and perhaps not seek back.
struct FailingFile {
    const char* reason;
    size_t bad_from;
    size_t bad_end;
    bool seeks_back;
    Bytes bytes = UpdateFileBytes{}.bytes();
    size_t position = 0;

    static ssize_t read(void* cookie, char* to, size_t count) {
        auto& file = *static_cast<FailingFile*>(cookie);
        if (file.position >= file.bad_from && file.position < file.bad_end) {
            return 0;
        }
        count = std::min(count, file.bytes.size() - file.position);
        std::copy_n(file.bytes.begin() + static_cast<std::ptrdiff_t>(file.position), count, to);
        file.position += count;
        return static_cast<ssize_t>(count);
    }

    static int seek(void* cookie, off64_t* offset, int origin) {
        auto& file = *static_cast<FailingFile*>(cookie);
        if (origin == SEEK_SET && !file.seeks_back) {
            return -1;
        }
        const size_t from = origin == SEEK_END ? file.bytes.size() : origin == SEEK_CUR ? file.position : 0;
        *offset += static_cast<off64_t>(from);
        file.position = static_cast<size_t>(*offset);
        return 0;
    }
};

}  // namespace

TEST_F(UpdateFile, AFailingMediumIsNoFile) {
    FailingFile cases[] = {{"could not read info structure", 270'878, 270'902, true},
                           {"could not seek in file for start", 0, 0, false},
                           {"could not read file", 100'000, 270'878, true}};
    for (FailingFile& bad : cases) {
        std::FILE* file = fopencookie(&bad, "rb", {FailingFile::read, nullptr, FailingFile::seek, nullptr});
        EXPECT_FALSE(parse_update_file(device, file));
        EXPECT_EQ(last_error(), bad.reason);
        std::fclose(file);
    }
}
