// SPDX-License-Identifier: MIT
#include "image/info_json.h"

#include <algorithm>
#include <optional>

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
    return JsonObject()
        .add("named", text_if(file.named_sha256))
        .add("computed", file.computed_sha256.empty() ? "null" : json_string(file.computed_sha256))
        .add("ok", file.named_sha256 ? json_bool(sha256_fits(file)) : "null")
        .text();
}

std::string checksum_json(bool is_stored, unsigned stored, bool is_computed, unsigned computed) {
    return JsonObject()
        .add("stored", number_if(is_stored, stored))
        .add("computed", number_if(is_computed, computed))
        .add("ok", is_stored && is_computed ? json_bool(stored == computed) : "null")
        .text();
}

std::string vector_json(const RegionBody& body) {
    const ResetVector& vector = body.vector;
    const bool is_jump = vector.kind != ResetVector::kNone;
    return JsonObject()
        .add("instruction", is_jump ? json_string(vector_word(vector)) : "null")
        .add("target", number_if(is_jump, vector.target))
        .add("ok", json_bool(body.can_start))
        .text();
}

std::string region_json(const Inspection& file, int region) {
    const InfoStructure info = file.info.value_or(InfoStructure());
    const std::optional<RegionBody> body = file.body ? file.body->regions[region] : std::nullopt;
    return JsonObject()
        .add("software_id", number_if(file.info.has_value(), region == 0 ? info.swid_region0 : info.swid_region1))
        .add("checksum", checksum_json(file.info.has_value(), region == 0 ? info.crc_region0 : info.crc_region1,
                                       body.has_value(), body ? body->computed_crc : 0U))
        .add("marked_pages", body ? json_numbers(programmed_in(file.body->marked_pages, region)) : "null")
        .add("reset_vector", body ? vector_json(*body) : "null")
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
    std::string free_bytes = "null";
    if (file.body && file.body->free_bytes) {
        free_bytes = json_numbers({file.body->free_bytes->begin(), file.body->free_bytes->end()});
    }
    object.add("never_programmed", file.body ? json_numbers(never_programmed(file.body->marked_pages)) : "null")
        .add("free_bytes", free_bytes);
}

}  // namespace

std::string info_json(const std::string& path, const Inspection& file, const std::string& refusal) {
    const bool has_magic = file.magic_offset.has_value();
    JsonObject object;
    object.add("file", json_string(path))
        .add("loads", json_bool(refusal.empty()))
        .add("error", refusal.empty() ? "null" : json_string(refusal))
        .add("format", json_string(format_word(file.format)))
        .add("size", std::to_string(file.size))
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
