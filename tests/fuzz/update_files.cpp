// SPDX-License-Identifier: MIT
#include "tests/fuzz/update_files.h"

#include "tests/support/update_file_bytes.h"

namespace {

constexpr size_t kRegionChecksums = 6;  // in the info structure
constexpr std::string_view kMagic = "SVxMega\n";

void put_word(std::string& file, size_t offset, int word) {
    file[offset] = static_cast<char>(word);
    file[offset + 1] = static_cast<char>(word >> 8);
}

void put_checksum(std::string& file, int error) {
    if (file.size() >= kSizeAfterMagic) {
        const auto counted = bytes_of(file).last(kSizeAfterMagic).first(kSizeAfterMagic - 2);
        put_word(file, file.size() - 2, sampled_crc16(counted) ^ error);
    }
}

void edit(std::string& file, int kind, uint8_t byte, uint32_t number, Input& input) {
    const auto set = [&file](size_t offset, uint32_t value) {
        if (offset < file.size()) {
            file[offset] = static_cast<char>(value);
        }
    };
    const size_t info = std::max(file.size(), kInfoSize) - kInfoSize;
    const size_t end = byte % 2 != 0 ? file.size() : info;
    const size_t count = std::min<size_t>(number, end);
    switch (kind) {
        case 0: set(number, byte); break;
        case 1:
            set(info + byte % kInfoSize, number);
            set(info + byte % kInfoSize + 1, number >> 8);
            break;
        case 2: file.erase(end - count, count); break;
        case 3: file.insert(number >= 0x800000 ? 0 : file.size(), number % 0x800, static_cast<char>(byte)); break;
        case 4: file.insert(0, kMagic); break;
        case 5: set(info - kFreeSize - kPages + number % kPages, byte); break;
        case 7: file.insert(0, input.part(byte).text()); break;
        default: break;
    }
}

}  // namespace

const std::string& good_file() {
    static const std::string good = [] {
        UpdateFileBytes made;
        made.fill_pages({0, 3, 256, 259});
        const std::vector<uint8_t> bytes = made.bytes();
        std::string file(bytes.begin(), bytes.end());
        for (const int region : {0, 1}) {
            const size_t place = file.size() - kInfoSize + kRegionChecksums + 2 * static_cast<size_t>(region);
            put_word(file, place, sampled_crc16(made.programmed(region)));
        }
        put_checksum(file, 0);
        return file;
    }();
    return good;
}

void put_edited_file(std::string& file, Input input) {
    if (input.text().starts_with('r')) {
        file = input.text().substr(1);
        return;
    }
    file = good_file();
    uint8_t error = 0;
    while (!input.rest.empty()) {
        const int kind = input.byte() % 8;
        const uint8_t byte = input.byte();
        const uint32_t number = input.number(3);
        error = kind == 6 ? byte : error;
        edit(file, kind, byte, number, input);
    }
    put_checksum(file, error);
}

std::string& lent_file() {
    static std::string file = good_file();
    return file;
}
