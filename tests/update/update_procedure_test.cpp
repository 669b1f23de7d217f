// SPDX-License-Identifier: MIT
#include "update/update_procedure.h"

#include "tests/support/device_test.h"

namespace {

class UpdateProcedure : public DeviceTest {
protected:
    UpdateProcedure() {
        device.hwid = 3;
        device.region_size = device.file_region_size = 0x20000;
        device.page_size = device.file_page_size = 0x200;
        device.memory_size = device.file_memory_size = 0x42000;
        // Up to date, so that nothing is sent in the end.
        device.force_update = 0;
    }
};

}  // namespace

TEST_F(UpdateProcedure, FileAndMcuMustAgreeOnTheGeometry) {
    EXPECT_TRUE(run_update(device));
    const struct {
        void (*differ)(McuDevice& device);
        const char* text;
    } steps[] = {// From the last check to the first: each goes before those above it.
                 {[](McuDevice& d) { d.file_memory_size = 0x42001; }, "invalid memory size (read vs. update file)"},
                 {[](McuDevice& d) { d.file_page_size = 0x100; }, "invalid page size (read vs. update file)"},
                 {[](McuDevice& d) { d.region_size = 0x10000; }, "invalid region size (read vs. update file)"},
                 {[](McuDevice& d) { d.hwid = 0; }, "version info not available (not read yet)"}};
    for (const auto& step : steps) {
        step.differ(device);
        EXPECT_FALSE(run_update(device));
        EXPECT_EQ(device.last_error, step.text);
    }
    EXPECT_EQ(kernel.wire, Wire{});
}
