// SPDX-License-Identifier: MIT
#include "tests/fuzz/made_file.h"

#include <sys/mman.h>

#include <array>

namespace {

constexpr size_t kInfo = 24;
constexpr uint8_t kMagic[] = {'S', 'V', 'x', 'M', 'e', 'g', 'a', '\n'};
constexpr uint8_t kGoodInfo[kInfo] = {0, 0, 0x23, 0x01, 0x23, 0x01, 0x34, 0x12, 0xEF, 0xBE, 0, 0,
                                      0, 0, 2,    0,    0,    2,    0,    0x20, 4,    0,    0, 0};

void store_checksum(Bytes& file, uint8_t error) {
    const size_t start = file_start(file);
    if (start != 0 && file.size() >= start + 2) {
        const int crc = checksum(file, start, file.size() - 2) ^ error;
        file[file.size() - 2] = static_cast<uint8_t>(crc);
        file[file.size() - 1] = static_cast<uint8_t>(crc >> 8);
    }
}

Bytes make_good_file() {
    Bytes file(std::begin(kMagic), std::end(kMagic));
    file.resize(8 + 0x42000, 0xFF);
    file.resize(8 + 0x42000 + 528 + 6, 0);
    for (const size_t page : {0U, 3U, 256U, 259U}) {
        file[8 + 0x42000 + page] = 1;
        for (size_t i = 0; i < 512; ++i) {
            file[8 + page * 512 + i] = static_cast<uint8_t>(page * 7 + page / 256 * 101 + i * 5 + i / 256);
        }
    }
    file.insert(file.end(), std::begin(kGoodInfo), std::end(kGoodInfo));
    store_checksum(file, 0);
    return file;
}

void apply(Bytes& file, int kind, uint8_t byte, uint32_t number) {
    const auto set = [&](size_t offset, uint32_t value) {
        if (offset < file.size()) {
            file[offset] = static_cast<uint8_t>(value);
        }
    };
    const size_t info = std::max(file.size(), kInfo) - kInfo;
    const auto begin = file.begin();
    switch (kind) {
        case 0: set(number % (file.size() + 1), byte); break;
        case 1:
            set(info + byte % kInfo, number);
            set(info + byte % kInfo + 1, number >> 8);
            break;
        case 2: {
            const size_t end = byte % 2 != 0 ? file.size() : info;
            file.erase(begin + static_cast<long>(end - std::min<size_t>(number, end)), begin + static_cast<long>(end));
            break;
        }
        case 3:
            if (file.size() < 0x200000) {
                file.insert(number >= 0x800000 ? begin : file.end(), number % 0x100000, byte);
            }
            break;
        case 4: file.insert(begin, std::begin(kMagic), std::end(kMagic)); break;
        case 5: set(info - 6 - 528 + number % 528, byte); break;
        default: break;
    }
}

}  // namespace

const Bytes& good_file() {
    static const Bytes file = make_good_file();
    return file;
}

Bytes edited_file(Input input) {
    Bytes file = good_file();
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
    store_checksum(file, error);
    return file;
}

size_t file_start(const Bytes& file) {
    const auto limit = file.begin() + static_cast<long>(std::min<size_t>(file.size(), 1024));
    const auto head = std::find(file.begin(), limit, 0);
    const auto magic = std::search(file.begin(), head, std::begin(kMagic), std::end(kMagic));
    return magic == head ? 0 : static_cast<size_t>(magic - file.begin()) + sizeof kMagic;
}

uint32_t number_at(const Bytes& file, size_t offset, int size) {
    return size == 0 ? 0 : file[offset] | number_at(file, offset + 1, size - 1) << 8;
}

// Byte by byte; the tool's own folds in eight at once.
uint16_t checksum(const Bytes& file, size_t first, size_t end) {
    static const auto table = [] {
        std::array<uint16_t, 256> crcs{};
        for (unsigned byte = 0; byte < 256; ++byte) {
            unsigned crc = byte;
            for (int bit = 0; bit < 8; ++bit) {
                crc = (crc & 1) != 0 ? (crc >> 1) ^ 0xA001 : crc >> 1;
            }
            crcs[byte] = static_cast<uint16_t>(crc);
        }
        return crcs;
    }();
    unsigned crc = 0xFFFF;
    for (size_t i = first; i < end; ++i) {
        crc = crc >> 8 ^ table[(crc ^ file[i]) & 0xFF];
    }
    return static_cast<uint16_t>(crc);
}

std::string expected_refusal(const Bytes& file) {
    const size_t start = file_start(file);
    if (start == 0) {
        return "invalid file (could not find header)";
    }
    if (file.size() < kInfo) {
        return "could not seek in file for info structure";
    }
    const size_t info = file.size() - kInfo;
    if (number_at(file, info + 2, 2) != number_at(file, info + 4, 2)) {
        return "invalid swid (region mismatch)";
    }
    const std::string wrong = number_at(file, info + 12, 4) != 0x20000   ? "region"
                              : number_at(file, info + 16, 2) != 0x200   ? "page"
                              : number_at(file, info + 18, 4) != 0x42000 ? "memory"
                                                                         : "";
    if (!wrong.empty()) {
        return "invalid " + wrong + " size (hwid mismatch)";
    }
    if (file.size() != start + 0x4222E) {
        return "invalid file (wrong size)";
    }
    return checksum(file, start, file.size() - 2) == number_at(file, info + 22, 2) ? "" : "invalid file (CRC error)";
}

const std::string& memory_file(const Bytes& bytes) {
    static const int descriptor = memfd_create("file", MFD_CLOEXEC);
    static const std::string path = "/dev/fd/" + std::to_string(descriptor);
    check(ftruncate(descriptor, static_cast<off_t>(bytes.size())) == 0 &&
              pwrite(descriptor, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()),
          "there is memory for the file");
    return path;
}
