// SPDX-License-Identifier: MIT
// An update file, a board, and the texts of an update. Expected logs have no times.
#pragma once

#include <algorithm>

#include "tests/support/device_test.h"
#include "tests/support/update_file_bytes.h"

inline const std::string kOkay = "info  : overall SV MCU update = okay\n";
inline const std::string kPower =
    "info  : status SVMCU=on, OK=1 1, IN=Ln1/1, OUT=Ln1, PWR=24.1V, IMP=12 63, DATA=8a 02 01, U1=00 00 00 00 00, "
    "U2=00 00 00 00 00, EXT=0.0V\n";
constexpr size_t kBeforeErase = 107;  // transfers of identity, flash status and power state
constexpr size_t kPageTransfers = 34;

inline std::string hex4(uint16_t value) {
    char text[5];
    std::snprintf(text, sizeof text, "%04x", value);
    return text;
}

/// The progress of as many pages as there are marks.
inline std::string progress(const std::string& marks) {
    std::string text;
    for (size_t i = 0; i < marks.size(); ++i) {
        const double percent = static_cast<double>(i) * 100.0 / static_cast<double>(marks.size());
        char shown[16];
        std::snprintf(shown, sizeof shown, "%c %3.1f%%", marks[i], percent);
        text += shown + std::string(percent > 10.0 ? 6 : 5, '\b');
    }
    return text + " done \n";
}

class Update : public testing::Test {
protected:
    Update() {
        file.fill_pages({0, 1, 256, 257});
        save();
    }

    ~Update() override {
        std::remove(path.c_str());
    }

    void save() {
        path = write_temporary("update.svu", file.bytes());
    }

    std::string crc(int region) const {
        return hex4(file.region_crc(region));
    }

    std::string loaded() const {
        return "info  : update file swid 0123 crc " + crc(0) + " " + crc(1) + "\ninfo  : update file = okay (" + path +
               ")\n";
    }

    /// From the board's first firmware.
    std::string doing() const {
        return "info  : doing update in region 1 (from swid 0100 crc 4de3 to swid 0123 crc " + crc(1) + ")\n";
    }

    std::string done() const {
        return "info  : update done in region 1 with swid 0123 crc " + crc(1) + "\n";
    }

    Bytes program(int region) const {
        const auto start = file.image.begin() + region * std::ptrdiff_t{0x20000};
        return {start, start + std::ptrdiff_t{0x1FE00}};
    }

    /// Pages without a mark are erased, and 0xFF in the file.
    void expect_programmed(int region) const {
        EXPECT_EQ(board.flash.checksum(region), file.region_crc(region));
        const Bytes expected = program(region);
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(),
                               board.flash.memory().begin() + region * std::ptrdiff_t{0x20000}));
    }

    sim::Board board;
    FakeKernel kernel{board};
    UpdateFileBytes file;
    std::string path;
};
