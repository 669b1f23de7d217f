// SPDX-License-Identifier: MIT
// The host's files through the commands that look at them. The input holds, with "|" between them: uptime, network
// side temperature, display side temperature, GPIO value; where it ends the other files are not there. The MCU is
// silent, so that the runs are short.
#include <cmath>

#include "tests/fuzz/target.h"
#include "tests/support/tool_run.h"

namespace {

std::string between(const std::string& text, const std::string& before, const std::string& after) {
    const size_t start = text.find(before) + before.size();
    return text.substr(start, text.find(after, start) - start);
}

/// A temperature file with an ordinary number and a line end shows as that number, rounded up.
void check_temperature(const std::string& content, const std::string& shown) {
    check(!shown.empty() && shown.find_first_not_of("-.0123456789infa") == std::string::npos, "a temperature's form");
    const size_t digits = content.find_first_not_of("0123456789");
    if (digits >= 1 && digits <= 3 && content.size() == digits + 3 && content[digits] == '.' &&
        std::isdigit(static_cast<unsigned char>(content[digits + 1])) != 0 && content.back() == '\n') {
        check(std::abs(std::stod(shown) - std::stod(content)) < 0.101, "an ordinary temperature is shown");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static sim::Board board;
    sim::Scenario& host = board.scenario;
    host.uptime = host.temp_nic = host.temp_disp = host.poe = "none";
    FakeKernel kernel(board);
    kernel.on_bus = [](std::span<const sim::Message>) { return false; };
    Input input{{data, size}};
    std::string contents[4];
    const char* const paths[] = {"/proc/uptime", "/dev/temp_nic", "/dev/temp_disp", "/sys/class/gpio/gpio414/value"};
    for (size_t i = 0; i < 4 && !input.rest.empty(); ++i) {
        contents[i] = kernel.files[paths[i]] = input.until('|');
    }
    const bool known = !contents[3].empty();
    const bool on = known && contents[3][0] == '0';

    const ToolRun poe = run_tool_words({"--status-poe"});
    check(poe.status == (known ? 0 : 255), "--status-poe fails without a value");
    check(poe.out == (!known ? "" : on ? "POE: on\n" : "POE: off\n"), "--status-poe");
    check(kernel.exported == "414", "the line is exported first");

    const ToolRun status = run_tool_words({"--status"});
    const std::string uptime = between(status.out, " up ", "  DISP=");
    const std::string network = between(status.out, " TEMP=", "degC,");
    const std::string display = between(status.out, "degC,", "degC\n");
    const std::string line = "2025-11-16 21:53:20 up " + uptime + "  DISP=off POE=" +
                             (on      ? "on "
                              : known ? "off"
                                      : "---") +
                             " SVMCU=off RST=--- SW=----/-/---- PWR=----V IN=" + (on ? "PoE  " : "-----") +
                             " OUT=--- CAP=----/----V/---W USB=off TEMP=" + network + "degC," + display + "degC\n";
    check(status.status == 0 && status.err.empty() && status.out == line, "--status, the three numbers apart");
    check((uptime == "no uptime") == contents[0].empty(), "an uptime where there is one");
    check(contents[0].empty() || uptime.find_first_not_of("0123456789d :") == std::string::npos, "an uptime's form");
    check(uptime.size() <= 15, "the uptime fits its buffer");
    check_temperature(contents[1], network);
    check_temperature(contents[2], display);

    const ToolRun cable = run_tool_words({"--status-cable"});
    check(cable.status == 0 && is_text(cable.out), "--status-cable succeeds");
    check(contains(cable.out, "  up " + uptime + "  TEKO1 = "), "the same uptime in the cable report");
    return 0;
}
