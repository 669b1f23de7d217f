// SPDX-License-Identifier: MIT
#include "image/elf_file.h"

#include <gelf.h>

#include <cstdio>
#include <memory>

namespace {

struct EndElf {
    void operator()(Elf* elf) const {
        elf_end(elf);
    }
};

/// The toolchain's places for memories that are not flash.
constexpr struct {
    uint64_t start;
    const char* name;
} kMemories[] = {{0x850000, "user signature"},
                 {0x840000, "signature"},
                 {0x830000, "lock bits"},
                 {0x820000, "fuses"},
                 {0x810000, "EEPROM"}};
constexpr uint64_t kRam = 0x800000;
constexpr uint64_t kRamEnd = 0x810000;
constexpr GElf_Word kArchitecture = 0x7F;  // bits of e_flags; the family XMEGA is 101 to 107

const char* other_memory(uint64_t address) {
    for (const auto& [start, name] : kMemories) {
        if (address >= start && address < start + 0x10000) {
            return name;
        }
    }
    return nullptr;
}

bool refuse(std::string& error, const char* reason) {
    error = reason;
    return false;
}

bool check_header(Elf* elf, std::string& error) {
    GElf_Ehdr header;
    if (elf == nullptr || elf_kind(elf) != ELF_K_ELF || gelf_getehdr(elf, &header) == nullptr) {
        return refuse(error, "the header is no header of ELF");
    }
    if (header.e_ident[EI_CLASS] != ELFCLASS32 || header.e_machine != EM_AVR) {
        return refuse(error, "a program for another processor than AVR");
    }
    const GElf_Word architecture = header.e_flags & kArchitecture;
    if (architecture < 101 || architecture > 107) {
        return refuse(error, "a program for another AVR than XMEGA");
    }
    return header.e_type == ET_EXEC || refuse(error, "not a linked program: link it for its region first");
}

std::string omitted_text(size_t number, const GElf_Phdr& segment, const char* memory) {
    char text[128];
    std::snprintf(text, sizeof text, "segment %zu, %llu bytes for %s, is not part of an update and left out", number,
                  static_cast<unsigned long long>(segment.p_filesz), memory);
    return text;
}

}  // namespace

bool read_elf(std::span<const uint8_t> file, std::vector<Piece>& pieces, std::vector<std::string>& omitted,
              std::string& error) {
    // Result ignored: every library has the current version.
    (void)elf_version(EV_CURRENT);
    // Only read: the library changes no byte unless asked to write.
    char* image = const_cast<char*>(reinterpret_cast<const char*>(file.data()));
    const std::unique_ptr<Elf, EndElf> elf(elf_memory(image, file.size()));
    size_t count = 0;
    uint64_t total = 0;
    if (!check_header(elf.get(), error)) {
        return false;
    }
    if (elf_getphdrnum(elf.get(), &count) != 0) {
        return refuse(error, "the table of segments is missing: the file is cut off");
    }
    for (size_t i = 0; i < count; ++i) {
        GElf_Phdr segment;
        if (gelf_getphdr(elf.get(), static_cast<int>(i), &segment) == nullptr) {
            return refuse(error, "the table of segments is incomplete: the file is cut off");
        }
        if (segment.p_type != PT_LOAD || segment.p_filesz == 0) {
            continue;
        }
        total += segment.p_filesz;
        if (total > kRegions * kRegionSize) {
            return refuse(error, "the segments hold more than both regions");
        }
        if (segment.p_offset > file.size() || segment.p_filesz > file.size() - segment.p_offset) {
            return refuse(error, "a segment is incomplete: the file is cut off");
        }
        if (segment.p_paddr >= kRam && segment.p_paddr < kRamEnd) {
            return refuse(
                error,
                "a segment has its content in RAM, which is empty at the start: give it a load address in the flash");
        }
        const auto bytes = file.subspan(static_cast<size_t>(segment.p_offset), static_cast<size_t>(segment.p_filesz));
        if (const char* memory = other_memory(segment.p_paddr); memory != nullptr) {
            omitted.push_back(omitted_text(i + 1, segment, memory));
        } else {
            pieces.push_back({static_cast<uint32_t>(segment.p_paddr), {bytes.begin(), bytes.end()}, i + 1});
        }
    }
    return !pieces.empty() || refuse(error, "no segment has content for the flash");
}
