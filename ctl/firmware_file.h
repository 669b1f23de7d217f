// SPDX-License-Identifier: MIT
// The update file as sv_ctl takes it: read once, into memory, so that what was checked is what is programmed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ctl/outcome.h"
#include "mcu/mcu_device.h"

/// What the file says about itself.
struct FirmwareNotes {
    std::string version;          ///< empty: not named
    std::vector<uint16_t> hwids;  ///< empty: for every hardware
    std::string sha256;           ///< of the file from its magic to its end, computed
};

/// Opens the file once, reads it and stores image and page map in the device. Checks what load_update_file checks, that
/// the software id is not 0, and the SHA-256 if the file names one. Failure: kBadFile, or kNoPermission.
bool load_firmware_file(const char* path, McuDevice& device, FirmwareNotes& notes, Failure& failure);

/// Checks the content for one region: the checksum that the MCU will compare, and unless `any_content` that it begins
/// with a jump into the region, to something that is not erased. Failure: kBadFile. REQUIRES: a loaded file.
bool check_region_content(const McuDevice& device, int region, bool any_content, Failure& failure);

/// The checksum of region 0 or 1 once the loaded file is programmed there.
uint16_t file_crc(const McuDevice& device, int region);

/// The bytes that page `page` of the whole flash has after its region was programmed: those of the file, or null if the
/// page is not marked and stays erased.
const uint8_t* page_content(const McuDevice& device, uint16_t page);
