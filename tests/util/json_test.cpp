// SPDX-License-Identifier: MIT
#include "util/json.h"

#include <gtest/gtest.h>

namespace {

TEST(Json, AnyBytesBecomeAStringInAscii) {
    const std::pair<std::string, const char*> cases[] = {
        {"", R"("")"},
        {" a~", R"(" a~")"},
        {"\"\\/", R"("\"\\/")"},
        {std::string("\0\n\x1b\x7f", 4), R"("\u0000\u000a\u001b\u007f")"},
        {"\u00e4\u20ac\U0001F600", R"("\u00e4\u20ac\ud83d\ude00")"},
        {"\xf4\x8f\xbf\xbf", R"("\udbff\udfff")"},              // the last character there is
        {"\xf4\x90\x80\x80", R"("\ufffd\ufffd\ufffd\ufffd")"},  // one beyond
        {"\xe4z", R"("\ufffdz")"},                              // Latin-1
        {"\xe2\x82", R"("\ufffd\ufffd")"},                      // cut off
        {"\xc0\xaf", R"("\ufffd\ufffd")"},                      // longer than it needs to be
        {"\xed\xa0\x80", R"("\ufffd\ufffd\ufffd")"},            // half of a surrogate pair
        {"\x80\xff", R"("\ufffd\ufffd")"}};
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(json_string(bytes), text);
    }
}

TEST(Json, ObjectsAndArrays) {
    EXPECT_EQ(JsonObject().text(), "{}");
    EXPECT_EQ(JsonObject().add("a", "1").add("b\"", json_array({"2", "null"})).add("c", json_array({})).text(),
              R"({"a":1,"b\"":[2,null],"c":[]})");
}

}  // namespace
