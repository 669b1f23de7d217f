// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <map>

#include "ctl/identify.h"
#include "mcu/i2c_bus.h"
#include "tests/support/tool_run.h"

namespace {

constexpr const char* kRows[] = {"node", "rights", "adapter", "address", "frame", "power"};

struct Trouble {
    const char* row;  ///< the one that fails; "": none
    const char* reason;
    const char* text;    ///< a part of what the row says
    const char* advice;  ///< the command; "": none
    const char* situation = "";
    const char* options = "";
    std::map<int, int> open_errors = {};
    std::map<std::string, std::string> files = {};
    int transfer_error = ENXIO;
    unsigned long functions = 1;
};

constexpr const char* kAgain = "sv_ctl doctor --bus 0 --addr 0x08";
constexpr const char* kVersion = "sv_updater --bus 0 --addr 0x08 --version";
constexpr const char* kNoPower = "source=0 teko1_connected=0";

const Trouble kTroubles[] = {
    {"", "", "", ""},
    {"", "", "", "", "source=0 teko1_connected=0 poe=0"},
    {"", "", "", "", "nack@read-versionx2"},
    {"", "", "", "", "fail@read-flash-statusx2"},
    {"", "", "", "", "mcu_address=0x20", "--addr 0x20"},
    {"node",
     "no-bus",
     "No such file or directory; buses of this host: 1 (a), 4 (b)",
     "sv_ctl doctor --bus 1 --addr 0x08",
     "",
     "",
     {{0, ENOENT}},
     {{"/sys/class/i2c-dev/i2c-1/name", "a\n"}, {"/sys/class/i2c-dev/i2c-4/name", "b\n"}}},
    {"node",
     "no-bus",
     "buses of this host: 0 (a)",
     "sudo modprobe i2c-dev",
     "",
     "",
     {{0, ENOENT}},
     {{"/sys/bus/i2c/devices/i2c-0/name", "a\n"}}},
    {"node", "no-bus", "buses of this host: none", "sudo modprobe i2c-dev", "", "", {{0, ENOENT}}},
    {"rights",
     "no-permission",
     "Permission denied; members of the group i2c may",
     "sudo sv_ctl doctor --bus 0 --addr 0x08",
     "",
     "",
     {{0, EACCES}}},
    {"adapter", "bad-adapter", "cannot send I2C messages", "i2cdetect -F 0", "", "", {}, {}, ENXIO, 0x0EFF0008},
    {"adapter", "stuck-bus", "timed out", kAgain, "mcu=off", "", {}, {}, ETIMEDOUT},
    {"address", "no-answer", "nothing answers at address 0x08 of /dev/i2c-0: No such device", kAgain, "mcu=off"},
    {"address", "no-answer", "nothing answers", kAgain, "dead@5"},
    {"address",
     "no-answer",
     "nothing answers at address 0x08",
     "sv_ctl doctor --bus 1 --addr 0x08",
     "mcu=off",
     "",
     {},
     {{"/sys/class/i2c-dev/i2c-1/name", "a\n"}}},
    {"address", "wrong-address", "nothing answers at address 0x21 of /dev/i2c-0; the MCU is at 0x08", kAgain, "",
     "--addr 0x21"},
    {"address", "wrong-address", "another device answers at address 0x09", kAgain, "", "--addr 9"},
    {"address",
     "held-address",
     "the kernel driver at24 holds address 0x08",
     "sudo sh -c 'echo 0-0008 >/sys/bus/i2c/devices/0-0008/driver/unbind'",
     "",
     "",
     {},
     {{"/sys/bus/i2c/devices/0-0008/uevent", "DRIVER=at24\nMODALIAS=i2c:24c02\n"}}},
    {"frame", "busy-mcu", "does not finish an identity frame: could not read version (read poll error",
     "sudo fuser --verbose /dev/i2c-0", "hang@read-versionx*"},
    {"frame", "busy-mcu", "could not read status (read poll error", "sudo fuser --verbose /dev/i2c-0",
     "fail@read-flash-statusx*"},
    {"frame", "busy-mcu", "address 0x09", "sudo fuser --verbose /dev/i2c-0", "mcu=off", "--addr 9"},
    {"frame", "wrong-hardware", "unknown HWID (id 0009)", kVersion, "hwid=9"},
    {"frame", "wrong-hardware", "invalid page size", kVersion, "reported_page_size=256"},
    {"frame", "wrong-hardware", "invalid region size", kVersion, "reported_region_size=65536"},
    {"frame", "wrong-hardware", "checksum of the identity is wrong", "sv_updater --bus 0 --addr 0x20 --version",
     "mcu_address=0x20 version_crc_good=off", "--addr 0x20"},
    {"power", "no-power", "no source feeds the board", "sv_ctl status --bus 0 --addr 0x08 --lock 'doctor'\\''s-lock'",
     kNoPower, "--lock doctor's-lock"},
    {"power", "no-answer", "does not report its power state", "sv_ctl status --bus 0 --addr 0x08", "nack@reg-00x*"},
};

/// The words of a doctor's row in the plain output: "address", "failed", the text.
std::string line_of(const std::string& out, const std::string& row) {
    const size_t start = out.find(row + " ");
    return start == std::string::npos ? "" : out.substr(start, out.find('\n', start) - start);
}

TEST(Doctor, EachTroubleFailsItsRow) {
    for (const Trouble& trouble : kTroubles) {
        SCOPED_TRACE(trouble.row + std::string(": ") + trouble.text);
        const bool healthy = *trouble.row == '\0';
        sim::Board board;
        set_up(board, split(trouble.situation));
        FakeKernel kernel(board);
        kernel.open_errors = trouble.open_errors;
        kernel.files = trouble.files;
        kernel.transfer_error = trouble.transfer_error;
        kernel.functions = trouble.functions;
        Words words = split(std::string("doctor ") + trouble.options);
        const ToolRun run = run_ctl_words(words);
        EXPECT_EQ(run.status, healthy ? 0 : 4) << run.err;
        EXPECT_EQ(run.err, "");
        bool failed = false;
        for (const char* row : kRows) {
            const bool fails = std::string(row) == trouble.row;
            const std::string state = fails ? "failed" : failed ? "not tried" : "ok";
            const std::string line = line_of(run.out, row);
            EXPECT_EQ(line.substr(9, state.size()), state) << run.out;
            EXPECT_TRUE(!fails || line.find(trouble.text) != std::string::npos) << line;
            failed = failed || fails;
        }
        const std::string advice = std::string(": ") + trouble.advice + "\n";
        EXPECT_EQ(failed, run.out.find("what to do: ") != std::string::npos);
        EXPECT_TRUE(!failed || run.out.ends_with(advice)) << run.out;
        EXPECT_EQ(board.violations, Words{});

        words.push_back("--json");
        const ToolRun json = run_ctl_words(words);
        EXPECT_EQ(json.status, run.status);
        unlink("doctor's-lock");
        const std::string reason = healthy ? "null" : '"' + std::string(trouble.reason) + '"';
        EXPECT_NE(json.out.find("\"reason\":" + reason + ","), std::string::npos) << json.out;
    }
}

TEST(Doctor, JsonIsOneObject) {
    sim::Board board;
    set_up(board, {"hwid=9"});
    FakeKernel kernel(board);
    const std::string expected =
        R"j({"result":"failed","reason":"wrong-hardware","retry":false,)j"
        R"j("message":"address 0x08 of /dev/i2c-0 has an unsupported MCU: unknown HWID (id 0009)",)j"
        R"j("rows":[{"row":"node","state":"ok","text":"/dev/i2c-0"},)j"
        R"j({"row":"rights","state":"ok","text":"reading and writing"},)j"
        R"j({"row":"adapter","state":"ok","text":"I2C messages"},)j"
        R"j({"row":"address","state":"ok","text":"0x08"},{"row":"frame","state":"failed",)j"
        R"j("text":"address 0x08 of /dev/i2c-0 has an unsupported MCU: unknown HWID (id 0009)"},)j"
        R"j({"row":"power","state":"not tried","text":""}],"remedy":"see all that the MCU reports of itself",)j"
        R"j("advice":["sv_updater","--bus","0","--addr","0x08","--version"]})j";
    EXPECT_EQ(run_ctl_words({"doctor", "--json"}).out, expected + "\n");
}

TEST(Identify, AFailureLeavesNothingOfATimeBeforeAReset) {
    sim::Board board;
    set_up(board, {"mcu=off"});
    FakeKernel kernel(board);
    I2cBus bus;
    ASSERT_TRUE(open_bus(bus, "0"));
    McuDevice device(&bus);
    device.swid = 0x7777;
    Failure failure;
    EXPECT_FALSE(identify(device, failure));
    EXPECT_EQ(device.swid, 0);
}

}  // namespace
