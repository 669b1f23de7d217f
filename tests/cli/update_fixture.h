// SPDX-License-Identifier: MIT
// An update file, a board, and the texts of an update.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/tool_run.h"
#include "tests/support/update_file_bytes.h"

inline const std::string kPower =
    "status SVMCU=on, OK=1 1, IN=Ln1/1, OUT=Ln1, PWR=24.1V, IMP=12 63, DATA=8a 02 01, U1=00 00 00 00 00, "
    "U2=00 00 00 00 00, EXT=0.0V";

inline std::string hex4(uint16_t value) {
    char text[5];
    std::snprintf(text, sizeof text, "%04x", value);
    return text;
}

inline std::string back(double percent) {
    return std::string(percent > 10.0 ? 6 : 5, '\b');
}

/// The progress of 255 steps: a mark per page, and how often each page fails before it succeeds.
inline std::string progress(const std::vector<std::pair<char, int>>& pages) {
    std::string text;
    std::string prefix;
    for (size_t i = 0; i < pages.size(); ++i) {
        char percent[16];
        std::snprintf(percent, sizeof percent, "%3.1f%%", static_cast<double>(i) * 100.0 / 255.0);
        text += prefix + pages[i].first + " " + percent;
        for (int n = 0; n < pages[i].second; ++n) {
            text += prefix + "x* " + percent;
        }
        prefix = back(static_cast<double>(i) * 100.0 / 255.0);
    }
    return text + prefix;
}

inline std::vector<std::pair<char, int>> all_pages(char mark) {
    return std::vector<std::pair<char, int>>(255, {mark, 0});
}

class Update : public testing::Test {
protected:
    ~Update() override {
        std::remove(path.c_str());
    }

    void save() {
        path = write_temporary("update.svu", file.bytes());
    }

    std::string loaded() const {
        return log_line("info",
                        "update file swid 0123 crc " + hex4(file.region_crc(0)) + " " + hex4(file.region_crc(1))) +
               log_line("info", "update file = okay (" + path + ")");
    }

    std::string doing(int region, const std::string& from) const {
        return log_line("info", "doing update in region " + std::to_string(region) + " (" + from +
                                    " to swid 0123 crc " + hex4(file.region_crc(region)) + ")");
    }

    std::string done(int region) const {
        return log_line("info", "update done in region " + std::to_string(region) + " with swid 0123 crc " +
                                    hex4(file.region_crc(region))) +
               log_line("info", "overall SV MCU update = okay");
    }

    void expect_programmed(int region) {
        for (size_t page = 0; page < 255; ++page) {
            const auto at = static_cast<std::ptrdiff_t>((static_cast<size_t>(region) * 256 + page) * 512);
            const bool marked = file.page_map[static_cast<size_t>(region) * 256 + page] != 0;
            for (std::ptrdiff_t i = 0; i < 512; ++i) {
                ASSERT_EQ(board.flash.memory()[static_cast<size_t>(at + i)],
                          marked ? file.image[static_cast<size_t>(at + i)] : 0xFF)
                    << page;
            }
        }
    }

    sim::Board board;
    FakeKernel kernel{board};
    UpdateFileBytes file;
    std::string path;
    // The board's first firmware, as the log names it.
    const std::string first = "from swid 0100 crc " + hex4(board.flash.checksum(0));
};
