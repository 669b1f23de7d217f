// SPDX-License-Identifier: MIT
#include <cstdio>
#include <optional>

#include "image/commands.h"
#include "image/host_file.h"
#include "image/info_json.h"
#include "image/input_file.h"
#include "image/inspector.h"
#include "update/file_notes.h"
#include "update/update_file.h"
#include "util/printable.h"

namespace {

void print_prefix(const std::string& prefix) {
    std::printf("prefix:                   %zu bytes\n", prefix.size());
    for (const std::string& line : prefix_lines(prefix)) {
        std::printf("note:                     %s\n", printable(line).c_str());
    }
}

void print_sha256(const Inspection& file) {
    const char* result = !file.named_sha256 ? "none named" : sha256_fits(file) ? "ok" : "differs";
    std::printf("sha256:                   %s computed, %s\n", file.computed_sha256.c_str(), result);
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

void print_region_checksum(const Inspection& file, int region) {
    const InfoStructure info = file.info.value_or(InfoStructure());
    const unsigned stored = region == 0 ? info.crc_region0 : info.crc_region1;
    const std::optional<RegionBody> body = file.body ? file.body->regions[region] : std::nullopt;
    if (file.info && body) {
        std::printf("region %d checksum:        0x%04x stored, 0x%04x computed, %s\n", region, stored,
                    body->computed_crc, verdict(stored, body->computed_crc));
    } else if (file.info) {
        std::printf("region %d checksum:        0x%04x stored\n", region, stored);
    } else if (body) {
        std::printf("region %d checksum:        0x%04x computed\n", region, body->computed_crc);
    }
}

void print_vector(const RegionBody& body, int region) {
    const ResetVector& vector = body.vector;
    const int target = region_at(vector.target);
    std::printf("region %d reset vector:    ", region);
    if (vector.kind == ResetVector::kNone) {
        std::puts("none: it does not begin with a jump");
    } else if (target < 0) {
        std::printf("%s 0x%05x, in neither region\n", vector_word(vector), vector.target);
    } else {
        const char* fault = body.can_start || target != region ? "" : ", where no program goes on";
        std::printf("%s 0x%05x, in region %d%s\n", vector_word(vector), vector.target, target, fault);
    }
}

void print_body(const FileBody& body) {
    if (body.free_bytes) {
        const auto& b = *body.free_bytes;
        std::printf("free bytes:               %02x %02x %02x %02x %02x %02x\n", b[0], b[1], b[2], b[3], b[4], b[5]);
    }
    std::printf("marked pages:             %s\n", page_ranges(body.marked_pages).c_str());
    for (int region = 0; region < kRegions; ++region) {
        if (!body.regions[region]) {
            std::printf("region %d:                 not in the file\n", region);
            continue;
        }
        std::printf("region %d marked pages:    %zu of %u\n", region, programmed_in(body.marked_pages, region).size(),
                    kProgrammedPages);
        print_vector(*body.regions[region], region);
    }
    const std::vector<uint16_t> in_vain = never_programmed(body.marked_pages);
    if (!in_vain.empty()) {
        std::printf("never programmed:         %s%s\n", page_ranges(in_vain).c_str(),
                    body.free_bytes ? " (marked in vain)" : "");
    }
}

void print_text(const std::string& path, const Inspection& file, const std::string& refusal) {
    std::printf("file:                     %s\n", printable(path).c_str());
    std::printf("format:                   %s\n", format_name(file.format));
    std::printf("size:                     %zu bytes\n", file.size);
    if (file.magic_offset) {
        std::printf("expected size:            %zu bytes (%s)\n", file.expected_size,
                    file.size == file.expected_size ? "ok" : "differs");
        std::printf("magic offset:             %zu bytes\n", *file.magic_offset);
        print_prefix(file.prefix);
        print_sha256(file);
    }
    if (file.info) {
        print_info(file);
    }
    for (int region = 0; region < kRegions; ++region) {
        print_region_checksum(file, region);
    }
    if (file.body) {
        print_body(*file.body);
    } else if (!file.trouble.empty()) {
        std::printf("content:                  unknown (%s)\n", printable(file.trouble).c_str());
    }
    std::printf("loads:                    %s\n", refusal.empty() ? "yes" : ("no (" + refusal + ")").c_str());
}

}  // namespace

bool run_info(const InfoOptions& options, std::string& error) {
    InputFile input;
    Inspection file;
    if (!read_input(options.file, options.format, input, error) || !inspect_input(input, options.region, file, error)) {
        return false;
    }
    print_omitted(options.file, file.omitted);
    McuDevice device(nullptr);
    const std::string refusal = parse_update_bytes(device, input.bytes) ? "" : device.last_error.c_str();
    if (options.form == InfoForm::kJson) {
        std::puts(info_json(options.file, file, refusal).c_str());
    } else {
        print_text(options.file, file, refusal);
    }
    return true;
}
