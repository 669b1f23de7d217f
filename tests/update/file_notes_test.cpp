// SPDX-License-Identifier: MIT
#include "update/file_notes.h"

#include <gtest/gtest.h>

namespace {

using Texts = std::vector<std::string>;

TEST(FileNotes, TheFirstMagicInTheFirst1024BytesOfText) {
    const std::string magic = "SVxMega\n";
    const std::pair<std::string, std::optional<size_t>> cases[] = {{"", std::nullopt},
                                                                   {magic + magic, 0},
                                                                   {"SVxM" + magic, 4},
                                                                   {std::string(1016, 'x') + magic, 1016},
                                                                   {std::string(1017, 'x') + magic, std::nullopt},
                                                                   {std::string(1, '\0') + magic, std::nullopt},
                                                                   {"SVxMega", std::nullopt}};
    for (const auto& [head, offset] : cases) {
        EXPECT_EQ(find_magic(std::vector<uint8_t>(head.begin(), head.end())), offset) << head;
    }
}

TEST(FileNotes, TheLastWholeLineWithAValueCounts) {
    using Value = std::optional<std::string>;
    const std::pair<std::string, Value> cases[] = {
        {"", std::nullopt},          {"k: v", std::nullopt},   {"k: v\n", "v"},
        {"a\nk: v\nk: w \nb", "w "}, {"k: v\nk: \n", "v"},     {"k:v\n", std::nullopt},
        {"ak: v\n", std::nullopt},   {"K: v\n", std::nullopt}, {"k: \xff\n", "\xff"}};
    for (const auto& [prefix, value] : cases) {
        EXPECT_EQ(named_value(prefix, "k"), value) << prefix;
    }
    EXPECT_EQ(prefix_lines("a\n\nb"), (Texts{"a", "", "b"}));
}

TEST(FileNotes, HardwareIds) {
    const std::pair<std::string, Texts> cases[] = {{"version: 2\n", {}},
                                                   {"hwid: 0004\n", {"0004"}},
                                                   {"hwid:  0004\tABCD \r\n", {"0004", "ABCD"}},
                                                   {"hwid: 0004\nhwid: 0005 x\n", {"0005", "x"}},
                                                   {"hwid:   \n", {}}};
    for (const auto& [prefix, hwids] : cases) {
        EXPECT_EQ(named_hwids(prefix), hwids) << prefix;
    }
}

}  // namespace
