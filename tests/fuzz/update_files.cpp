// SPDX-License-Identifier: MIT
#include "tests/fuzz/update_files.h"

#include "tests/support/update_file_bytes.h"

namespace {

constexpr size_t kRegionChecksums = 6;  // in the info structure
constexpr size_t kLargestHead = 0x2000;
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

/// The file in two parts, so that nothing large is moved when something comes in front.
struct EditedFile {
    std::string head;
    std::string body;

    void set(size_t offset, uint32_t value) {
        if (offset < head.size()) {
            head[offset] = static_cast<char>(value);
        } else if (offset - head.size() < body.size()) {
            body[offset - head.size()] = static_cast<char>(value);
        }
    }

    void apply(int kind, uint8_t byte, uint32_t number, Input& input) {
        const size_t info = std::max(body.size(), kInfoSize) - kInfoSize;
        switch (kind) {
            case 0: set(number, byte); break;
            case 1:
                set(head.size() + info + byte % kInfoSize, number);
                set(head.size() + info + byte % kInfoSize + 1, number >> 8);
                break;
            case 2: {
                const size_t end = byte % 2 != 0 ? body.size() : info;
                const size_t count = std::min<size_t>(number, end);
                body.erase(end - count, count);
                break;
            }
            case 3: {
                const bool in_front = number >= 0x800000;
                (in_front ? head : body).insert(in_front ? 0 : body.size(), number % 0x800, static_cast<char>(byte));
                break;
            }
            case 4: head.insert(0, kMagic); break;
            case 5: set(head.size() + info - kFreeSize - kPages + number % kPages, byte); break;
            case 7: head.insert(0, input.part(byte).text()); break;
            default: break;
        }
        head.resize(std::min(head.size(), kLargestHead));
    }
};

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
    static EditedFile edited;  // its memory is used again
    edited.head.clear();
    edited.body = good_file();
    uint8_t error = 0;
    while (!input.rest.empty()) {
        const int kind = input.byte() % 8;
        const uint8_t byte = input.byte();
        const uint32_t number = input.number(3);
        error = kind == 6 ? byte : error;
        edited.apply(kind, byte, number, input);
    }
    if (edited.head.empty()) {
        file.swap(edited.body);
    } else {
        file = edited.head;
        file += edited.body;
    }
    put_checksum(file, error);
}

std::string& lent_file() {
    static std::string file = good_file();
    return file;
}
