// SPDX-License-Identifier: MIT
// `sv_image info`, in both forms, on update files with a few edits (tests/fuzz/edited_file.h), or, after an "r", on the
// input as it is.
#include "image/commands.h"
#include "tests/fuzz/edited_file.h"
#include "tests/support/tool_run.h"
#include "update/update_file.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static sim::Board board;
    static FakeKernel kernel(board);
    std::string& file = kernel.files["file"];
    if (size > 0 && data[0] == 'r') {
        file.assign(data + 1, data + size);
    } else {
        put_edited_file(file, {{data, size}});
    }
    McuDevice device(nullptr);
    load_update_file(device, "file");  // Result ignored: the reason says it
    const std::string refusal = device.last_error.c_str();

    std::string error;
    const ToolRun run = capture([&] { return run_info("file", "", InfoForm::kText, error) ? 0 : 1; });
    check(run.status == 0 && error.empty(), "every file gets a report");
    check(run.err.empty() && is_text(run.out), "the report is text on standard output");
    const std::string verdict = refusal.empty() ? "yes" : "no (" + refusal + ")";
    check(run.out.ends_with("\nloads:                    " + verdict + "\n"), "the verdict is the loader's");
    const bool cut_off = file.size() > 0x100000;
    const std::string file_size = cut_off ? "more than 1048576 bytes (only" : std::to_string(file.size()) + " bytes\n";
    check(contains(run.out, "\nsize:                     " + file_size), "the size is the file's");
    const bool sound = contains(run.out, "bytes (ok)\n") && contains(run.out, " computed, ok\n");
    check(sound || !refusal.empty(), "a file that loads is sound");

    const ToolRun json = capture([&] { return run_info("file", "", InfoForm::kJson, error) ? 0 : 1; });
    check(json.status == 0 && json.err.empty() && is_text(json.out), "every file gets an object");
    const std::string loads = refusal.empty() ? "true,\"error\":null" : "false,\"error\":\"" + refusal + '"';
    check(json.out.starts_with("{\"file\":\"file\",\"loads\":" + loads + ','), "the object has the loader's verdict");
    check(json.out.find('\n') == json.out.size() - 1 && json.out.ends_with("}\n"), "the object is one line");
    return 0;
}
