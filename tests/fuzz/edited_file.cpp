// SPDX-License-Identifier: MIT
#include "tests/fuzz/edited_file.h"

#include <string_view>

#include "tests/support/update_file_bytes.h"

namespace {

constexpr size_t kInfoSize = 24;
constexpr size_t kRegionChecksums = 6;  // in the info structure
constexpr size_t kPages = 528;
constexpr size_t kFreeSize = 6;
constexpr size_t kSizeAfterMagic = 0x42000 + kPages + kFreeSize + kInfoSize;
constexpr size_t kLargest = 0x150000;
constexpr int kMaxAtFront = 4;  // each moves the whole file
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

void add_at_end(std::string& file, char byte, uint32_t number) {
    const size_t count = number == 0xFFFFFF ? 0x100000 : number % 0x2000;
    file.append(std::min(count, kLargest - std::min(kLargest, file.size())), byte);
}

void add_at_front(std::string& file, int kind, uint8_t byte, uint32_t number, Input& input) {
    switch (kind) {
        case 3: file.insert(0, number % 0x800, static_cast<char>(byte)); break;
        case 4: file.insert(0, kMagic); break;
        default: file.insert(0, input.text(byte)); break;
    }
}

void apply(std::string& file, int kind, uint8_t byte, uint32_t number) {
    const auto set = [&](size_t offset, uint32_t value) {
        if (offset < file.size()) {
            file[offset] = static_cast<char>(value);
        }
    };
    const size_t info = std::max(file.size(), kInfoSize) - kInfoSize;
    switch (kind) {
        case 0: set(number % (file.size() + 1), byte); break;
        case 1:
            set(info + byte % kInfoSize, number);
            set(info + byte % kInfoSize + 1, number >> 8);
            break;
        case 2: {
            const size_t end = byte % 2 != 0 ? file.size() : info;
            const size_t count = std::min<size_t>(number, end);
            file.erase(end - count, count);
            break;
        }
        case 3: add_at_end(file, static_cast<char>(byte), number); break;
        case 5: set(info - kFreeSize - kPages + number % kPages, byte); break;
        default: break;
    }
}

std::map<std::string, std::string>::node_type lent;

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
    file = good_file();
    uint8_t error = 0;
    int at_front = 0;
    while (!input.rest.empty()) {
        const int kind = input.byte() % 8;
        const uint8_t byte = input.byte();
        const uint32_t number = input.number(3);
        error = kind == 6 ? byte : error;
        if (kind == 4 || kind == 7 || (kind == 3 && number >= 0x800000 && number != 0xFFFFFF)) {
            if (++at_front <= kMaxAtFront) {
                add_at_front(file, kind, byte, number, input);
            }
        } else {
            apply(file, kind, byte, number);
        }
    }
    put_checksum(file, error);
}

LentFile::LentFile(FakeKernel& kernel) : kernel_(kernel) {
    if (lent.empty()) {
        kernel_.files["good"] = good_file();
    } else {
        kernel_.files.insert(std::move(lent));
    }
}

LentFile::~LentFile() {
    lent = kernel_.files.extract("good");
}
