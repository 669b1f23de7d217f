// SPDX-License-Identifier: MIT
#include "update/update_procedure.h"

#include "tests/support/device_test.h"

namespace {

class UpdateProcedure : public DeviceTest {};

}  // namespace

TEST_F(UpdateProcedure, FileAndMcuMustAgreeOnTheGeometry) {
    device.hwid = 3;
    device.region_size = device.file_region_size = 0x20000;
    device.page_size = device.file_page_size = 0x200;
    device.memory_size = device.file_memory_size = 0x42000;
    device.force_update = 0;  // it is up to date, so nothing is sent
    EXPECT_TRUE(run_update(device));
    EXPECT_EQ(last_error(), "nothing to do (region 0 is already up to date with swid 0000 crc 0000)");
    device.active_region = 2;  // what is not 0 counts as 1
    EXPECT_TRUE(run_update(device));
    EXPECT_EQ(last_error(), "nothing to do (region 1 is already up to date with swid 0000 crc 0000)");
    // From the last check to the first: each goes before those above it.
    device.file_memory_size = 0x42001;
    EXPECT_FALSE(run_update(device));
    EXPECT_EQ(last_error(), "invalid memory size (read vs. update file)");
    device.file_page_size = 0x100;
    EXPECT_FALSE(run_update(device));
    EXPECT_EQ(last_error(), "invalid page size (read vs. update file)");
    device.region_size = 0x10000;
    EXPECT_FALSE(run_update(device));
    EXPECT_EQ(last_error(), "invalid region size (read vs. update file)");
    device.hwid = 0;
    EXPECT_FALSE(run_update(device));
    EXPECT_EQ(last_error(), "version info not available (not read yet)");
    EXPECT_EQ(kernel.wire, Wire{});
}
