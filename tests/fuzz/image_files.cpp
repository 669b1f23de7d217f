// SPDX-License-Identifier: MIT
// The loader and the commands of sv_image, on files in memory.
#include <cstring>

#include "image/commands.h"
#include "tests/fuzz/firmware_files.h"
#include "tests/fuzz/update_files.h"
#include "tests/support/tool_run.h"
#include "update/file_notes.h"
#include "update/update_file.h"

namespace {

constexpr size_t kRegion = 0x20000;
constexpr size_t kProgrammed = 0x1FE00;  // without the last page

FakeKernel& kernel() {
    static sim::Board board;
    static FakeKernel made(board);
    return made;
}

/// REQUIRES: the loader has accepted the file.
void check_loaded(const McuDevice& device, std::span<const uint8_t> file) {
    check(file.size() >= kSizeAfterMagic + 8, "a file that loads is complete");
    const auto body = file.last(kSizeAfterMagic);
    const std::string_view head(reinterpret_cast<const char*>(file.data()), file.size() - kSizeAfterMagic);
    check(head.size() <= 1024 && head.ends_with("SVxMega\n"), "the magic is right before the image");
    check(sampled_crc16(body) == 0, "the checksum is right");  // over a message and its own CRC it is 0
    check(std::memcmp(body.data(), device.file_image.get(), kImageSize) == 0, "the image is the file's");
    check(std::memcmp(&body[kImageSize], device.file_page_map.get(), kPages) == 0, "the page map is the file's");
    const auto info = body.last(kInfoSize);
    check(info[2] == info[4] && info[3] == info[5] && device.file_swid == (info[2] | info[3] << 8), "one software id");
    check(device.file_region_size == kRegion && device.file_page_size == 0x200 && device.file_memory_size == kImageSize,
          "the one geometry");
}

/// A file of any format.
struct AnyFile {
    Format format = Format::kRaw;
    bool unread = false;  ///< parts may look as if they had not been read
};

/// The image of the good file after edits of four bytes: an offset and a byte, which fills a segment if it is 0x55.
void put_read_back(std::string& file, Input input, bool& unread) {
    file.assign(good_file(), good_file().size() - kSizeAfterMagic, kImageSize);
    while (!input.rest.empty()) {
        const size_t offset = input.number(3) % kImageSize;
        const uint8_t byte = input.byte();
        unread = unread || byte == 0x55;
        std::fill_n(file.begin() + static_cast<long>(byte == 0x55 ? offset & ~31U : offset), byte == 0x55 ? 32 : 1,
                    static_cast<char>(byte));
    }
}

/// Makes a file of the kernel from the next bytes of the input: its format, the size of the rest, the rest.
AnyFile put_file(const char* name, Input& input) {
    AnyFile any{static_cast<Format>(input.byte() % 6)};
    Input part = input.part(size_t{input.byte()} * 4);
    std::string& file = kernel().files[name];
    switch (any.format) {
        case Format::kUpdateFile: put_edited_file(file, part); break;
        case Format::kReadBack: put_read_back(file, part, any.unread); break;
        case Format::kRaw: file = part.text(); break;
        default: file = make_firmware(any.format, part).text;
    }
    any.format = detect_format(bytes_of(file));  // an update file may begin like an ELF file
    return any;
}

/// What holds for every subcommand that failed.
void check_failure(const ToolRun& run, const std::string& error) {
    check((run.status != 0) == !error.empty(), "a failure, and nothing else, has a reason");
    check(error.empty() || run.out.empty(), "a failure leaves no output");
    check(is_text(run.err), "warnings are text");
}

/// Whether "sv_image diff" finds the same in this region of two files; nothing: it did not compare it.
std::optional<bool> is_same(const ToolRun& diff, int region) {
    const std::string start = "region " + std::to_string(region);
    if (diff.status != 0 || contains(diff.out, start + " not compared\n")) {
        return std::nullopt;
    }
    return contains(diff.out, start + " differing pages: none\n");
}

ToolRun diff_files(const char* a, const char* b, std::optional<int> region) {
    std::string error;
    ToolRun run = capture([&] { return run_diff({a, b, "", region}, error) == DiffResult::kTrouble ? 1 : 0; });
    check_failure(run, error);
    check(is_text(run.out), "the report is text");
    return run;
}

/// A region of the file, empty if it has none.
std::string extracted(const char* name, int region) {
    ExtractOptions options;
    options.region = region;
    options.file = name;
    options.output = "-";
    std::string error;
    const ToolRun run = capture([&] { return run_extract(options, error) ? 0 : 1; });
    check_failure(run, error);
    check(run.status != 0 || run.out.size() == kRegion, "a region has its size");
    return run.out;
}

/// All that was to be in it is found again.
void check_prefix(const std::string& prefix, const PackOptions& options) {
    check(options.prefix_file.empty() || prefix.starts_with(kernel().files["prefix"]), "the free bytes come first");
    check(named_value(prefix, "version") == options.version && named_value(prefix, "build") == options.build,
          "version and build are found again");
    check(named_value(prefix, "sha256").has_value() == options.name_sha256, "the SHA-256 is found again");
    const std::vector<std::string> lines = prefix_lines(prefix);
    for (const std::string& note : options.notes) {
        check(std::find(lines.begin(), lines.end(), note) != lines.end(), "a note is a line");
    }
    std::vector<std::string> hwids;
    for (const std::string& id : named_hwids(prefix)) {
        hwids.push_back(std::to_string(std::stoul(id, nullptr, 16)));
    }
    check(hwids == options.hwids, "the hardware ids are found again");
}

/// What "sv_image info" says of the file "a": as one object of JSON, or as lines.
void check_info(Format format, bool is_json) {
    std::string error;
    const InfoOptions options{"a", "", {}, is_json ? InfoForm::kJson : InfoForm::kText};
    const ToolRun run = capture([&] { return run_info(options, error) ? 0 : 1; });
    check_failure(run, error);
    const bool is_firmware = format == Format::kElf || format == Format::kIntelHex || format == Format::kSRecord;
    check(run.status == 0 || is_firmware, "every file but bad firmware gets a report");
    check(is_text(run.out), "the report is text");
    if (format == Format::kUpdateFile) {
        McuDevice device(nullptr);
        const bool loads = parse_update_bytes(device, bytes_of(kernel().files["a"]));
        const std::string reason = device.last_error.c_str();
        const std::string text = loads ? "yes" : "no (" + reason + ")";
        const std::string json = loads ? "true,\"error\":null" : "false,\"error\":\"" + reason + '"';
        check(is_json ? contains(run.out, "\"loads\":" + json + ',') && run.out.find('\n') == run.out.size() - 1
                      : run.out.ends_with("\nloads:                    " + text + '\n'),
              "the verdict is the loader's");
    }
}

}  // namespace

void update_file(Input input) {
    std::string& file = kernel().files["file"];
    put_edited_file(file, input);
    McuDevice device(nullptr);
    device.last_error = "before";
    const bool loads = load_update_file(device, "file");
    check(loads || !input.rest.empty(), "the unchanged file loads");
    check(loads == (device.last_error == "before"), "a failure has a reason");
    if (loads) {
        check_loaded(device, bytes_of(file));
    }
}

void pack(Input input) {
    const char* const names[] = {"region0", "region1", "both"};
    const char* const ids[] = {"0x0123", "291", "0x123", "0123", "0", "65536", "-1", "0x"};
    PackOptions options;
    const uint8_t has = input.byte();
    options.swid = ids[input.byte() % 16 < 8 ? 0 : input.byte() % 8];
    options.output = "-";
    options.mark_all = (has & 8) != 0;
    options.overrule = (has & 16) != 0;
    options.name_sha256 = (has & 32) == 0;
    if ((has & 64) != 0) {
        options.version = input.until('\n');
    }
    const uint8_t head = input.byte();
    for (int n = head % 4; n > 0; --n) {
        options.notes.emplace_back(input.until('\n'));
    }
    for (int n = head / 4 % 4; n > 0; --n) {
        options.hwids.push_back(std::to_string(input.number(2)));
    }
    if ((head & 16) != 0) {
        options.build = input.until('\n');
    }
    if ((head & 32) != 0) {
        options.prefix_file = "prefix";
        kernel().files["prefix"] = input.until('\r');
    }
    for (size_t i = 0; i < 3; ++i) {
        if ((has >> i & 1) != 0) {
            put_file(names[i], input);
            if (i < 2) {
                options.region_files[i] = names[i];
            } else {
                options.files.emplace_back(names[i]);
            }
        }
    }
    std::string error;
    const ToolRun run = capture([&] { return run_pack(options, error) ? 0 : 1; });
    check(!contains(error, "does not load"), "pack makes no file that does not load");
    check_failure(run, error);
    if (run.status != 0) {
        return;
    }
    McuDevice device(nullptr);
    check(parse_update_bytes(device, bytes_of(run.out)), "what pack writes loads");
    check_loaded(device, bytes_of(run.out));
    check(device.file_swid == 0x123, "the software id is the given one");
    check_prefix(run.out.substr(0, run.out.size() - kSizeAfterMagic - 8), options);
    kernel().files["made"] = run.out;
    for (const int region : {0, 1}) {
        const char* source = options.region_files[region] ? names[region] : names[2];
        check(is_same(diff_files(source, "made", region), region) != false, "a region is what its file has");
        const uint8_t second = device.file_image[static_cast<size_t>(region) * kRegion + 1];
        check(options.overrule || (second & 0xFE) == 0x94 || (second & 0xF0) == 0xC0, "a region begins with a jump");
    }
}

void diff(Input input) {
    const uint8_t choice = input.byte();
    const std::optional<int> wanted = choice % 4 < 2 ? std::optional<int>(choice % 4) : std::nullopt;
    const AnyFile files[] = {put_file("a", input), put_file("b", input)};
    check_info(files[0].format, (choice & 4) != 0);
    const ToolRun run = diff_files("a", "b", wanted);
    for (int region = 0; region < 2; ++region) {
        const std::optional<bool> same = is_same(run, region);
        check(!same || !wanted || *wanted == region, "only the wanted region is compared");
        if (!same) {
            continue;
        }
        const std::string a = extracted("a", region);
        const std::string b = extracted("b", region);
        check(!a.empty() && !b.empty(), "what can be compared can be taken out");
        check(files[0].unread || files[1].unread || *same == (a.compare(0, kProgrammed, b, 0, kProgrammed) == 0),
              "differing pages are found");
        const auto begin = kernel().files["a"].begin() + region * static_cast<long>(kRegion);
        check(files[0].format != Format::kReadBack || std::equal(a.begin(), a.end(), begin),
              "the region is the file's");
    }
}
