// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdio>

#include "image/commands.h"
#include "image/host_file.h"
#include "image/info_json.h"
#include "image/inspector.h"
#include "update/file_notes.h"
#include "update/update_file.h"

namespace {

void print_size(const Inspection& file) {
    if (file.size > kReadLimit) {
        std::printf("size:                     more than %zu bytes (only these are inspected)\n", kReadLimit);
    } else {
        std::printf("size:                     %zu bytes\n", file.size);
    }
    if (file.magic_offset) {
        std::printf("expected size:            %zu bytes (%s)\n", file.expected_size,
                    file.size == file.expected_size ? "ok" : "differs");
    }
}

void print_prefix(const std::string& prefix) {
    const std::vector<std::string> lines = prefix_lines(prefix);
    if (!std::all_of(lines.begin(), lines.end(), is_printable)) {
        std::printf("prefix:                   %zu bytes (not printable)\n", prefix.size());
        return;
    }
    std::printf("prefix:                   %zu bytes\n", prefix.size());
    for (const std::string& line : lines) {
        std::printf("note:                     %s\n", line.c_str());
    }
}

void print_sha256(const Inspection& file) {
    if (!file.computed_sha256.empty()) {
        const char* result = !file.named_sha256 ? "none named" : sha256_fits(file) ? "ok" : "differs";
        std::printf("sha256:                   %s computed, %s\n", file.computed_sha256.c_str(), result);
    }
}

const char* verdict(unsigned stored, unsigned computed) {
    return stored == computed ? "ok" : "differs";
}

void print_info(const Inspection& file) {
    const InfoStructure& info = *file.info;
    std::printf("info structure offset:    %zu bytes (24 bytes before the end)\n", file.size - kFileInfoSize);
    std::printf("reserved word 0:          0x%04x\n", info.reserved_0);
    std::printf("region 0 software id:     0x%04x\n", info.swid_region0);
    std::printf("region 1 software id:     0x%04x\n", info.swid_region1);
    std::printf("reserved word 10:         0x%04x\n", info.reserved_10);
    std::printf("region size:              0x%x bytes\n", info.region_size);
    std::printf("page size:                0x%x bytes\n", info.page_size);
    std::printf("memory size:              0x%x bytes\n", info.memory_size);
    std::printf("file checksum:            0x%04x stored, 0x%04x computed, %s\n", info.file_crc, file.computed_file_crc,
                verdict(info.file_crc, file.computed_file_crc));
}

void print_region_checksums(const Inspection& file) {
    const InfoStructure info = file.info.value_or(InfoStructure());
    for (int region = 0; region < kRegions; ++region) {
        const unsigned stored = region == 0 ? info.crc_region0 : info.crc_region1;
        const unsigned computed = file.body ? file.body->computed_region_crc[region] : 0U;
        if (file.info && file.body) {
            std::printf("region %d checksum:        0x%04x stored, 0x%04x computed, %s\n", region, stored, computed,
                        verdict(stored, computed));
        } else if (file.info) {
            std::printf("region %d checksum:        0x%04x stored\n", region, stored);
        } else if (file.body) {
            std::printf("region %d checksum:        0x%04x computed\n", region, computed);
        }
    }
}

void print_body(const FileBody& body) {
    const uint8_t* b = body.free_bytes;
    std::printf("free bytes:               %02x %02x %02x %02x %02x %02x\n", b[0], b[1], b[2], b[3], b[4], b[5]);
    std::printf("marked pages:             %s\n", page_ranges(body.marked_pages).c_str());
    for (int region = 0; region < kRegions; ++region) {
        std::printf("region %d marked pages:    %zu of %u\n", region, programmed_in(body.marked_pages, region).size(),
                    kProgrammedPages);
    }
    const std::vector<uint16_t> in_vain = never_programmed(body.marked_pages);
    if (!in_vain.empty()) {
        std::printf("never programmed:         %s (marked in vain)\n", page_ranges(in_vain).c_str());
    }
}

void print_text(const std::string& path, const Inspection& file, const std::string& refusal) {
    std::printf("file:                     %s\n", path.c_str());
    print_size(file);
    if (!file.magic_offset) {
        std::printf("magic offset:             none (no magic in the first %zu bytes)\n", kFileSearchSize);
    } else {
        std::printf("magic offset:             %zu bytes\n", *file.magic_offset);
        print_prefix(file.prefix);
        print_sha256(file);
    }
    if (file.info) {
        print_info(file);
    }
    print_region_checksums(file);
    if (file.body) {
        print_body(*file.body);
    }
    std::printf("loads:                    %s\n", refusal.empty() ? "yes" : ("no (" + refusal + ")").c_str());
}

}  // namespace

bool run_info(const std::string& path, InfoForm form, std::string& error) {
    if (is_pipe(path)) {
        error = path + " is a pipe, save it as a file first";
        return false;
    }
    Inspection file;
    if (!inspect_file(path, file, error)) {
        return false;
    }
    McuDevice device(nullptr);
    const std::string refusal = load_update_file(device, path.c_str()) ? "" : device.last_error.c_str();
    if (form == InfoForm::kJson) {
        std::puts(info_json(path, file, refusal).c_str());
    } else {
        print_text(path, file, refusal);
    }
    return true;
}
