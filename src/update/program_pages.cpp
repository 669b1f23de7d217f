// SPDX-License-Identifier: MIT
#include "update/program_pages.h"

#include <unistd.h>

#include "update/flash_region.h"

namespace {

constexpr int kPageAttempts = 5;
constexpr useconds_t kPageRetryUs = 500'000;

bool write_page_with_retries(McuDevice& device, uint16_t page, PageObserver& observer) {
    const uint8_t* data = device.file_image.get() + uint32_t{page} * device.file_page_size;
    for (int attempt = 0; attempt < kPageAttempts; ++attempt) {
        if (write_page(device, page, data, device.file_page_size)) {
            return true;
        }
        observer.failed();
        usleep(kPageRetryUs);
    }
    return false;
}

}  // namespace

bool program_pages(McuDevice& device, int region, PageObserver& observer) {
    const uint32_t region_pages = device.file_region_size / device.file_page_size;
    // A region's last page is neither programmed nor covered by the checksum.
    const uint32_t pages = region_pages - 1;
    for (uint32_t i = 0; i < pages; ++i) {
        const auto page = static_cast<uint16_t>(static_cast<uint32_t>(region) * region_pages + i);
        const bool marked = device.file_page_map[page] != 0;
        observer.begin(i, pages, marked);
        if (marked && !write_page_with_retries(device, page, observer)) {
            return false;
        }
        observer.end();
    }
    return true;
}
