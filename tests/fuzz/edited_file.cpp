// SPDX-License-Identifier: MIT
#include "tests/fuzz/edited_file.h"

#include <string_view>

#include "tests/support/update_file_bytes.h"

namespace {

constexpr size_t kInfoSize = 24;
constexpr size_t kPages = 528;
constexpr size_t kFreeSize = 6;
constexpr size_t kSizeAfterMagic = 0x42000 + kPages + kFreeSize + kInfoSize;
constexpr size_t kLargest = 0x200000;
constexpr std::string_view kMagic = "SVxMega\n";

void apply(std::vector<uint8_t>& file, int kind, uint8_t byte, uint32_t number) {
    const auto set = [&](size_t offset, uint32_t value) {
        if (offset < file.size()) {
            file[offset] = static_cast<uint8_t>(value);
        }
    };
    const size_t info = std::max(file.size(), kInfoSize) - kInfoSize;
    const auto begin = file.begin();
    switch (kind) {
        case 0: set(number % (file.size() + 1), byte); break;
        case 1:
            set(info + byte % kInfoSize, number);
            set(info + byte % kInfoSize + 1, number >> 8);
            break;
        case 2: {
            const size_t end = byte % 2 != 0 ? file.size() : info;
            file.erase(begin + static_cast<long>(end - std::min<size_t>(number, end)), begin + static_cast<long>(end));
            break;
        }
        case 3:
            if (file.size() < kLargest) {
                file.insert(number >= 0x800000 ? begin : file.end(), number % 0x100000, byte);
            }
            break;
        case 4: file.insert(begin, kMagic.begin(), kMagic.end()); break;
        case 5: set(info - kFreeSize - kPages + number % kPages, byte); break;
        default: break;
    }
}

}  // namespace

const std::vector<uint8_t>& good_file() {
    static const std::vector<uint8_t> file = [] {
        UpdateFileBytes made;
        for (const uint16_t page : std::initializer_list<uint16_t>{0, 3, 256, 259}) {
            made.fill_page(page);
        }
        return made.bytes();
    }();
    return file;
}

std::vector<uint8_t> edited_file(Input input) {
    std::vector<uint8_t> file = good_file();
    uint8_t error = 0;
    while (!input.rest.empty()) {
        const int kind = input.byte() % 8;
        const uint8_t byte = input.byte();
        uint32_t number = input.byte();
        number |= static_cast<uint32_t>(input.byte()) << 8;
        number |= static_cast<uint32_t>(input.byte()) << 16;
        error = kind == 6 ? byte : error;
        apply(file, kind, byte, number);
    }
    if (file.size() >= kSizeAfterMagic) {
        const int crc = textbook_crc16(std::span(file).last(kSizeAfterMagic).first(kSizeAfterMagic - 2)) ^ error;
        file[file.size() - 2] = static_cast<uint8_t>(crc);
        file[file.size() - 1] = static_cast<uint8_t>(crc >> 8);
    }
    return file;
}
