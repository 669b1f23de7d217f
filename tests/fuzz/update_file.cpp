// SPDX-License-Identifier: MIT
// The loader on update files with a few edits (tests/fuzz/edited_file.h).
#include "update/update_file.h"

#include <cstring>

#include "tests/fuzz/edited_file.h"

namespace {

constexpr size_t kImageSize = 0x42000;
constexpr size_t kPages = 528;
constexpr size_t kSizeAfterMagic = kImageSize + kPages + 6 + 24;

/// REQUIRES: the loader has accepted the file.
void check_loaded(const McuDevice& device, std::span<const uint8_t> file) {
    check(file.size() >= kSizeAfterMagic + 8, "a file that loads is complete");
    const auto body = file.last(kSizeAfterMagic);
    const std::string_view head(reinterpret_cast<const char*>(file.data()), file.size() - kSizeAfterMagic);
    check(head.size() <= 1024 && head.ends_with("SVxMega\n"), "the magic is right before the image");
    check(sampled_crc16(body) == 0, "the checksum is right");  // over a message and its own CRC it is 0
    check(std::memcmp(body.data(), device.file_image.get(), kImageSize) == 0, "the image is the file's");
    const auto page_map = body.subspan(kImageSize, kPages);
    check(std::equal(page_map.begin(), page_map.end(), device.file_page_map.get()), "the page map is the file's");
    const auto info = body.last(24);
    check(info[2] == info[4] && info[3] == info[5] && device.file_swid == (info[2] | info[3] << 8), "one software id");
    check(device.file_region_size == 0x20000 && device.file_page_size == 0x200 && device.file_memory_size == 0x42000,
          "the one geometry");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static sim::Board board;
    static FakeKernel kernel(board);
    std::string& file = kernel.files["file"];
    put_edited_file(file, {{data, size}});
    McuDevice device(nullptr);
    device.last_error = "before";

    const bool loads = load_update_file(device, "file");
    check(loads || size > 0, "the unchanged file loads");
    check(loads == (device.last_error == "before"), "a failure has a reason");
    if (loads) {
        check_loaded(device, bytes_of(file));
    }
    return 0;
}
