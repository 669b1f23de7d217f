// SPDX-License-Identifier: MIT
#include "image/prefix.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

using Texts = std::vector<std::string>;

std::string prefix_or_error(const PrefixParts& parts, const std::string& sha256 = "") {
    std::string prefix;
    const std::string error = make_prefix(parts, sha256, prefix);
    return error.empty() ? prefix : error;
}

TEST(Prefix, BytesAndNotes) {
    const std::string bad_note = "a note is not one \"key: value\" line of printable ASCII";
    const std::string magic_inside = "prefix or notes hold the magic of the file";
    const std::string too_long = "prefix and notes are longer than 1016 bytes";
    const std::string named = "no note or line of the prefix may be named ";
    const std::tuple<std::string, Texts, std::string> cases[] = {
        {"", {}, ""},
        {"raw\x01", {}, "raw\x01"},
        {"no line end", {"k: v", "k: : w"}, "no line end\nk: v\nk: : w\n"},
        {"line\n", {"k: v"}, "line\nk: v\n"},
        {"SVxM", {}, "SVxM"},  // the start of a magic before the real one
        {std::string(1016, 'x'), {}, std::string(1016, 'x')},
        {std::string(1017, 'x'), {}, too_long},
        {std::string(1012, 'x'), {"k: v"}, too_long},
        {std::string("a\0b", 3), {}, "the prefix holds a NUL, which would hide the magic"},
        {"..SVxMega\n..", {}, magic_inside},
        {"", {"k: SVxMega"}, magic_inside},
        {"", {"novalue"}, bad_note},
        {"", {": v"}, bad_note},
        {"", {"k: "}, bad_note},
        {"", {"k: \x7f"}, bad_note},
        {"", {"k: two\nlines"}, bad_note},
        {"", {"k: \x1b[2J"}, bad_note},
        {"", {"k: v", "version: 2"}, named + "\"version\": use --fw-version"},
        {"x\nhwid:4\n", {}, named + "\"hwid\": use --hwid"},
        {"", {"build: b"}, named + "\"build\": use --build"},
        {"sha256: 00", {}, named + "\"sha256\": it is computed"},
        {"", {"overruled: vector"}, named + "\"overruled\": pack --force writes it"},
        {"", {"versions: 2", "a version: 2"}, "versions: 2\na version: 2\n"}};
    for (const auto& [bytes, notes, expected] : cases) {
        EXPECT_EQ(prefix_or_error({bytes, notes, {}, {}, {}, {}}), expected);
    }
}

TEST(Prefix, NamedLines) {
    EXPECT_EQ(prefix_or_error({"p", {"k: v"}, "2.1 beta", {4, 0xABCD, 4}, "b", {"vector", "alike"}}, "00ff"),
              "p\nk: v\nversion: 2.1 beta\nhwid: 0004 abcd 0004\nbuild: b\noverruled: vector alike\nsha256: 00ff\n");
    EXPECT_EQ(prefix_or_error({"raw", {}, {}, {}, {}, {}}, "00ff"), "raw\nsha256: 00ff\n");
    const std::string bad_version = "--fw-version is not one line of printable ASCII";
    EXPECT_EQ(prefix_or_error({"", {}, "", {}, {}, {}}), bad_version);
    EXPECT_EQ(prefix_or_error({"", {}, "2\nhwid: 0004", {}, {}, {}}), bad_version);
    EXPECT_EQ(prefix_or_error({"", {}, {}, {}, "\xc3\xa4", {}}), "--build is not one line of printable ASCII");
    EXPECT_EQ(prefix_or_error({"", {}, {}, {}, "SVxMega", {}}), "prefix or notes hold the magic of the file");
}

}  // namespace
