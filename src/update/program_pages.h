// SPDX-License-Identifier: MIT
// Programs the pages of a region.
#pragma once

#include <cstdint>

#include "mcu/mcu_device.h"

/// Follows the work page by page. What a derived class does not replace does nothing.
class PageObserver {
public:
    /// Page `index` of `pages` begins; not marked: the file leaves it out.
    virtual void begin(uint32_t /*index*/, uint32_t /*pages*/, bool /*marked*/) {}
    virtual void failed() {}  ///< one attempt at this page; a pause follows
    virtual void end() {}     ///< the page is done

protected:
    ~PageObserver() = default;
};

/// Writes the pages of the region that the loaded file marks, each in up to five attempts with pauses of 500 ms. False
/// at the first page that fails each time, with the text of write_page. REQUIRES: the region is erased and not running.
bool program_pages(McuDevice& device, int region, PageObserver& observer);
