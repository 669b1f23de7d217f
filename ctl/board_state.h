// SPDX-License-Identifier: MIT
// What the MCU reports about its two regions, and what that can mean. It does not report whether a region is enabled,
// nor whether a reset is pending. What is known of it: a complete erase disables a region and sets its software id to
// 0; an enable sets the id; a disable keeps it; only an enabled region whose content has its recorded checksum starts.
#pragma once

#include "ctl/outcome.h"
#include "mcu/mcu_device.h"

struct BoardState {
    McuInfo info;
    bool running_is_file = false;  ///< id, checksum and every byte
    bool other_is_file = false;    ///< checksum and every byte; its id is the file's, or 0: never enabled with that id

    int running() const {
        return info.active_region;
    }

    int other() const {
        return running() == 0 ? 1 : 0;
    }
};

/// The software id of region 0 or 1.
uint16_t region_swid(const McuInfo& info, int region);

/// The checksum that the MCU reports for region 0 or 1.
uint16_t region_crc(const McuInfo& info, int region);

/// Reads the identity and, where ids and checksum fit the loaded file, all bytes of that region: 16 bits prove nothing.
/// Then reads the identity once more, which must be the same: no checksum covers the ids on the bus, and a pending
/// reset may have come. Sends only frames that read. Failure: as identify(), kNoAnswer when a region cannot be read,
/// kBusyMcu when the identities differ in three attempts, kInterrupted.
bool read_board_state(McuDevice& device, BoardState& state, Failure& failure);

/// Reads a segment of 32 bytes, in up to three attempts. Failure: kNoAnswer.
bool read_segment_patiently(McuDevice& device, uint16_t page, uint8_t segment, uint8_t* data, Failure& failure);

/// Reads a page of 0x200 bytes in the same way.
bool read_page_patiently(McuDevice& device, uint16_t page, uint8_t* data, Failure& failure);
