// SPDX-License-Identifier: MIT
#include "update/reset_vector.h"

#include <gtest/gtest.h>

namespace {

// Addresses of words: region 0 is 0x00000 to 0x0FFFF, region 1 is 0x10000 to 0x1FFFF. The last 0x100 of each are the
// page that is never programmed.
TEST(ResetVector, AJumpIntoItsOwnRegion) {
    constexpr struct {
        const char* name;
        uint8_t bytes[4];
        bool in_region_0;
        bool in_region_1;
    } kCases[] = {
        {"jmp 0x00000, to itself", {0x0C, 0x94, 0x00, 0x00}, false, false},
        {"jmp 0x00001", {0x0C, 0x94, 0x01, 0x00}, true, false},
        {"jmp 0x000FA", {0x0C, 0x94, 0xFA, 0x00}, true, false},
        {"jmp 0x0FEFF", {0x0C, 0x94, 0xFF, 0xFE}, true, false},
        {"jmp 0x0FF00, the last page", {0x0C, 0x94, 0x00, 0xFF}, false, false},
        {"jmp 0x0FFFF", {0x0C, 0x94, 0xFF, 0xFF}, false, false},
        {"jmp 0x10000, to itself", {0x0D, 0x94, 0x00, 0x00}, false, false},
        {"jmp 0x10001", {0x0D, 0x94, 0x01, 0x00}, false, true},
        {"jmp 0x1FEFF", {0x0D, 0x94, 0xFF, 0xFE}, false, true},
        {"jmp 0x1FF00, the last page", {0x0D, 0x94, 0x00, 0xFF}, false, false},
        {"jmp 0x20000, above the regions", {0x1C, 0x94, 0x00, 0x00}, false, false},
        {"jmp 0x200000", {0x0C, 0x95, 0x00, 0x00}, false, false},
        {"jmp 0x210000", {0x0D, 0x95, 0x00, 0x00}, false, false},
        {"call 0x00010", {0x0E, 0x94, 0x10, 0x00}, false, false},
        {"ijmp", {0x09, 0x94, 0x00, 0x00}, false, false},
        {"rjmp .+0", {0x00, 0xC0, 0xFF, 0xFF}, true, true},
        {"rjmp .+4094, the farthest", {0xFF, 0xC7, 0xFF, 0xFF}, true, true},
        {"rjmp .-2, to itself", {0xFF, 0xCF, 0xFF, 0xFF}, false, false},
        {"rjmp .-4, the word before the region", {0xFE, 0xCF, 0xFF, 0xFF}, false, false},
        {"rjmp .-4096, the farthest backwards", {0x00, 0xC8, 0xFF, 0xFF}, false, false},
        {"rcall .+0", {0x00, 0xD0, 0x00, 0x00}, false, false},
        {"rjmp with its bytes swapped", {0xC0, 0x00, 0x00, 0x00}, false, false},
        {"jmp with its bytes swapped", {0x94, 0x0C, 0x00, 0x00}, false, false},
        {"nop", {0x00, 0x00, 0x00, 0x00}, false, false},
        {"erased flash", {0xFF, 0xFF, 0xFF, 0xFF}, false, false},
        {"text", {'1', '2', '3', '4'}, false, false},
        {"Intel HEX", {':', '1', '0', '0'}, false, false},
    };
    for (const auto& row : kCases) {
        EXPECT_EQ(leads_into_region(reset_vector(row.bytes, 0), 0), row.in_region_0) << row.name;
        EXPECT_EQ(leads_into_region(reset_vector(row.bytes, 1), 1), row.in_region_1) << row.name;
    }
}

}  // namespace
