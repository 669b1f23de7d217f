// SPDX-License-Identifier: MIT
#include "ctl/firmware_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>

#include "mcu/flash_geometry.h"
#include "update/file_notes.h"
#include "update/reset_vector.h"
#include "update/update_file.h"
#include "util/crc.h"
#include "util/sha256.h"

namespace {

constexpr size_t kSizeLimit = 0x100000;  // no update file is larger

bool read_all(int descriptor, std::vector<uint8_t>& bytes) {
    bytes.resize(kSizeLimit + 1);
    size_t size = 0;
    while (size < bytes.size()) {
        const ssize_t count = read(descriptor, bytes.data() + size, bytes.size() - size);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        if (count == 0) {
            break;
        }
        size += count > 0 ? static_cast<size_t>(count) : 0;
    }
    bytes.resize(size);
    return true;
}

bool read_once(const char* path, std::vector<uint8_t>& bytes, Failure& failure) {
    // Not blocking: a FIFO in place of the file would wait for its writer.
    const int descriptor = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) {
        return fail(failure, errno == EACCES ? Reason::kNoPermission : Reason::kBadFile, "cannot open %s: %s", path,
                    std::strerror(errno));
    }
    struct stat status {};
    const bool regular = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    const bool read = regular && read_all(descriptor, bytes);
    const int reason = errno;
    close(descriptor);
    if (!regular) {
        return fail(failure, Reason::kBadFile, "%s is not a regular file", path);
    }
    return read || fail(failure, Reason::kBadFile, "cannot read %s: %s", path, std::strerror(reason));
}

bool parse(McuDevice& device, const std::vector<uint8_t>& bytes, Failure& failure) {
    if (bytes.empty()) {
        return fail(failure, Reason::kBadFile, "the file is empty");
    }
    if (!parse_update_bytes(device, bytes)) {
        return fail(failure, Reason::kBadFile, "no update file for this MCU: %s", device.last_error.c_str());
    }
    return device.file_swid != 0 ||
           fail(failure, Reason::kBadFile, "its software id is 0, which means an empty region");
}

std::vector<uint16_t> parse_hwids(const std::vector<std::string>& texts) {
    std::vector<uint16_t> hwids;
    for (const std::string& text : texts) {
        uint16_t id = 0;
        const char* end = text.data() + text.size();
        const auto [rest, error] = std::from_chars(text.data(), end, id, 16);
        // What is no number fits no hardware.
        hwids.push_back(error == std::errc() && rest == end ? id : uint16_t{0});
    }
    return hwids;
}

}  // namespace

bool load_firmware_file(const char* path, McuDevice& device, FirmwareNotes& notes, Failure& failure) {
    std::vector<uint8_t> bytes;
    if (!read_once(path, bytes, failure) || !parse(device, bytes, failure)) {
        return false;
    }
    const size_t magic = find_magic(bytes).value_or(0);
    const std::string prefix(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(magic));
    notes.version = named_value(prefix, "version").value_or("");
    notes.hwids = parse_hwids(named_hwids(prefix));
    notes.sha256 = sha256_hex(bytes.data() + magic, bytes.size() - magic);
    const std::string named = named_value(prefix, "sha256").value_or(notes.sha256);
    return named == notes.sha256 || fail(failure, Reason::kBadFile, "it does not have the SHA-256 that it names");
}

uint16_t file_crc(const McuDevice& device, int region) {
    return region == 0 ? device.file_crc0 : device.file_crc1;
}

const uint8_t* page_content(const McuDevice& device, uint16_t page) {
    return device.file_page_map[page] != 0 ? device.file_image.get() + uint32_t{page} * kPageSize : nullptr;
}

bool check_region_content(const McuDevice& device, int region, bool any_content, Failure& failure) {
    const auto first = static_cast<uint16_t>(region * kRegionPages);
    uint8_t erased[kPageSize];
    std::memset(erased, 0xFF, sizeof erased);
    uint16_t crc = kCrc16Start;
    for (uint16_t i = 0; i < kProgrammedPages; ++i) {
        const uint8_t* content = page_content(device, static_cast<uint16_t>(first + i));
        crc = crc16_buffer(crc, content != nullptr ? content : erased, kPageSize);
    }
    if (crc != file_crc(device, region)) {
        return fail(failure, Reason::kBadFile, "the checksum of region %d is wrong, so the MCU would not enable it",
                    region);
    }
    const uint8_t* start = page_content(device, first);
    const ResetVector vector = start != nullptr ? reset_vector(start, region) : ResetVector();
    if (!any_content && !leads_into_region(vector, region)) {
        return fail(failure, Reason::kBadFile, "its content for region %d does not begin with a jump into that region",
                    region);
    }
    const uint8_t* target =
        any_content ? nullptr : page_content(device, static_cast<uint16_t>(vector.target / kPageSize));
    if (!any_content && (target == nullptr || is_erased_word(target + vector.target % kPageSize))) {
        return fail(failure, Reason::kBadFile, "its content for region %d begins with a jump to erased flash", region);
    }
    return true;
}
