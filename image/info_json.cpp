// SPDX-License-Identifier: MIT
#include "image/info_json.h"

#include <algorithm>
#include <iterator>

#include "image/host_file.h"
#include "update/file_notes.h"
#include "util/json.h"

namespace {

std::string json_bool(bool value) {
    return value ? "true" : "false";
}

std::string number_if(bool known, size_t value) {
    return known ? std::to_string(value) : "null";
}

std::string text_if(const std::optional<std::string>& text) {
    return text ? json_string(*text) : "null";
}

std::string json_numbers(const std::vector<uint16_t>& numbers) {
    std::vector<std::string> values(numbers.size());
    std::transform(numbers.begin(), numbers.end(), values.begin(),
                   [](uint16_t number) { return std::to_string(number); });
    return json_array(values);
}

std::string sha256_json(const Inspection& file) {
    const bool comparable = file.named_sha256 && !file.computed_sha256.empty();
    return JsonObject()
        .add("named", text_if(file.named_sha256))
        .add("computed", file.computed_sha256.empty() ? "null" : json_string(file.computed_sha256))
        .add("ok", comparable ? json_bool(sha256_fits(file)) : "null")
        .text();
}

std::string checksum_json(bool is_stored, unsigned stored, bool is_computed, unsigned computed) {
    return JsonObject()
        .add("stored", number_if(is_stored, stored))
        .add("computed", number_if(is_computed, computed))
        .add("ok", is_stored && is_computed ? json_bool(stored == computed) : "null")
        .text();
}

std::string region_json(const Inspection& file, int region) {
    const InfoStructure info = file.info.value_or(InfoStructure());
    const FileBody body = file.body.value_or(FileBody());
    return JsonObject()
        .add("software_id", number_if(file.info.has_value(), region == 0 ? info.swid_region0 : info.swid_region1))
        .add("checksum", checksum_json(file.info.has_value(), region == 0 ? info.crc_region0 : info.crc_region1,
                                       file.body.has_value(), body.computed_region_crc[region]))
        .add("marked_pages", file.body ? json_numbers(programmed_in(body.marked_pages, region)) : "null")
        .text();
}

void add_info(JsonObject& object, const Inspection& file) {
    const bool known = file.info.has_value();
    const InfoStructure info = file.info.value_or(InfoStructure());
    object.add("info_offset", number_if(known, file.size - kFileInfoSize))
        .add("reserved0", number_if(known, info.reserved_0))
        .add("reserved10", number_if(known, info.reserved_10))
        .add("region_size", number_if(known, info.region_size))
        .add("page_size", number_if(known, info.page_size))
        .add("memory_size", number_if(known, info.memory_size))
        .add("file_checksum", checksum_json(known, info.file_crc, known, file.computed_file_crc));
}

void add_body(JsonObject& object, const Inspection& file) {
    object.add("regions", json_array({region_json(file, 0), region_json(file, 1)}));
    if (file.body) {
        const FileBody& body = *file.body;
        const std::vector<uint16_t> free_bytes(std::begin(body.free_bytes), std::end(body.free_bytes));
        object.add("never_programmed", json_numbers(never_programmed(body.marked_pages)))
            .add("free_bytes", json_numbers(free_bytes));
    } else {
        object.add("never_programmed", "null").add("free_bytes", "null");
    }
}

}  // namespace

std::string info_json(const std::string& path, const Inspection& file, const std::string& refusal) {
    const bool has_magic = file.magic_offset.has_value();
    JsonObject object;
    object.add("file", json_string(path))
        .add("loads", json_bool(refusal.empty()))
        .add("error", refusal.empty() ? "null" : json_string(refusal))
        .add("size", number_if(file.size <= kReadLimit, file.size))
        .add("expected_size", number_if(has_magic, file.expected_size))
        .add("magic_offset", number_if(has_magic, file.magic_offset.value_or(0)))
        .add("notes", json_strings(prefix_lines(file.prefix)))
        .add("version", text_if(named_value(file.prefix, "version")))
        .add("hwids", json_strings(named_hwids(file.prefix)))
        .add("build", text_if(named_value(file.prefix, "build")))
        .add("sha256", sha256_json(file));
    add_info(object, file);
    add_body(object, file);
    return object.text();
}
