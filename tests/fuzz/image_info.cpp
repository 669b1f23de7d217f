// SPDX-License-Identifier: MIT
// `sv_image info`, in both forms, on update files with a few edits (tests/fuzz/made_file.h), or, behind an "r", on the
// input as it is.
#include "image/commands.h"
#include "tests/fuzz/made_file.h"
#include "tests/support/tool_run.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const bool raw = size > 0 && data[0] == 'r';
    const Bytes file = raw ? Bytes(data + 1, data + size) : edited_file({{data, size}});
    const std::string refusal = expected_refusal(file);
    const std::string& path = memory_file(file);

    std::string error;
    const ToolRun run = capture([&] { return run_info(path, InfoForm::kText, error) ? 1 : 0; });
    check(run.status == 1 && error.empty(), "there is a report on every file");
    check(run.err.empty() && is_text(run.out), "the report is text on standard output");
    const std::string verdict = refusal.empty() ? "yes" : "no (" + refusal + ")";
    check(run.out.ends_with("\nloads:                    " + verdict + "\n"), "the verdict is the loader's");
    const bool cut_off = file.size() > 0x100000;
    const std::string file_size = cut_off ? "more than 1048576 bytes (only" : std::to_string(file.size()) + " bytes\n";
    check(contains(run.out, "\nsize:                     " + file_size), "the size is the file's");
    const bool has_start = file_start(file) != 0;
    check(contains(run.out, "\nexpected size: ") == has_start, "an expected size where there is a magic");
    const bool has_info = has_start && file.size() - file_start(file) >= 24 && !cut_off;
    check(contains(run.out, "\nfile checksum: ") == has_info, "a checksum where there is an info structure");
    const bool sound = contains(run.out, "bytes (ok)\n") && contains(run.out, " computed, ok\n");
    check(sound || !refusal.empty(), "a file that loads is sound");

    const ToolRun json = capture([&] { return run_info(path, InfoForm::kJson, error) ? 1 : 0; });
    check(json.status == 1 && json.err.empty() && is_text(json.out), "there is an object for every file");
    const std::string loads = refusal.empty() ? "true,\"error\":null" : "false,\"error\":\"" + refusal + '"';
    check(json.out.starts_with("{\"file\":\"" + path + "\",\"loads\":" + loads + ','), "it has the loader's verdict");
    check(json.out.find('\n') == json.out.size() - 1 && json.out.ends_with("}\n"), "it is one line");
    return 0;
}
