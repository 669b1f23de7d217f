// SPDX-License-Identifier: MIT
// Numbers, words and files that nobody types on purpose: what each does to the run, and that none changes the board.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/cli/update_fixture.h"

using Words = std::vector<std::string>;
using Wire = std::vector<std::string>;

TEST(BadInput, WholeNumbers) {
    // What --addr and --set psuled send; nothing when they refuse the text.
    struct Case {
        const char* text;
        std::string address;
        std::string word;
    };
    std::vector<Case> cases = {{"", "00", "00 00"},
                               {"+8", "08", "08 00"},
                               {"-8", "f8", "f8 ff"},
                               {"-0", "00", "00 00"},
                               {"010", "08", "08 00"},
                               {"0x2C", "2c", "2c 00"},
                               {"-0x10", "f0", "f0 ff"},
                               {"0X8", "08", "08 00"},
                               {"\t\n 8", "08", "08 00"},
                               {"256", "00", "00 01"},
                               {"65544", "08", "08 00"},
                               {"-248", "08", "08 ff"},
                               {"9223372036854775808", "ff", "ff ff"},
                               {"-9223372036854775809", "00", "00 00"},
                               {"0xfffffffffffffffff8", "ff", "ff ff"}};
    for (const char* text :
         {"8 ", "8\n", "8 8", "0x", "0xg", "0x8h", "08",  "8.0",  "8e0", "nan", "inf",      "8,",
          "$8", "+",   "x",   "-",  "--1", "12z",  "0b1", "-0B1", "+-8", " ",   "\xd9\xa8", "--probe"}) {
        cases.push_back({text, "", ""});
    }
    for (const auto& c : cases) {
        const bool good = !c.address.empty();
        sim::Board board;
        FakeKernel kernel(board);
        ToolRun run = run_tool_words({"--addr", c.text, "--probe"});
        EXPECT_EQ(run.status, c.address == "08" ? 0 : 255) << c.text;
        EXPECT_EQ(run.err, good ? "" : log_line("error", "address invalid")) << c.text;
        EXPECT_EQ(kernel.wire, good ? Wire{"R " + c.address + " 0f 1"} : Wire{}) << c.text;

        kernel.wire.clear();
        run = run_tool_words({"--set", "psuled", c.text});
        EXPECT_EQ(run.status, good ? 0 : 255) << c.text;
        EXPECT_EQ(run.err, good ? "" : log_line("error", "invalid parameter to --set-mode psuled")) << c.text;
        EXPECT_EQ(kernel.wire.size(), good ? 5U : 0U) << c.text;
        EXPECT_TRUE(!good || kernel.wire[0] == "W 08 0c: " + c.word) << c.text << kernel.wire[0];
    }
}

TEST(BadInput, BusNumbers) {
    const struct {
        const char* text;
        int bus;  // -1: refused
    } cases[] = {
        {"", 0},       {"-0", 0},          {"00", 0},          {"0x1", 1},          {"01", 1},
        {"+1", 1},     {" 1", 1},          {"1 ", -1},         {"08", -1},          {"0x", -1},
        {"-", -1},     {"1.0", -1},        {"1e0", -1},        {"nan", -1},         {" ", -1},
        {"--bus", -1}, {"2147483647", -1}, {"2147483648", -1}, {"-2147483649", -1}, {"-9223372036854775809", -1}};
    for (const auto& c : cases) {
        sim::Board board;
        sim::Board other;
        other.scenario.hwid = 1;
        FakeKernel kernel(board);
        kernel.buses[1] = &other;
        const ToolRun run = run_tool_words({"--bus", c.text, "--hw-version"});
        EXPECT_EQ(run.status, c.bus < 0 ? 255 : 0) << c.text;
        EXPECT_EQ(run.out, c.bus < 0 ? "" : c.bus == 0 ? "0003\n" : "0001\n") << c.text;
        EXPECT_EQ(run.err, c.bus < 0 ? log_line("error", "opening bus failed") : "") << c.text;
    }
}

TEST(BadInput, Delays) {
    const struct {
        const char* text;
        const char* tenths;  // on the wire; none: refused
    } cases[] = {{"+1", "0a"},     {" 1", "0a"},      {"1.", "0a"},         {".5", "05"},        {"0x.8p1", "0a"},
                 {"1e400", "ff"},  {"-1e400", "00"},  {"1e-400", "00"},     {"INF", "ff"},       {"-infinity", "00"},
                 {"NaN", "00"},    {"nan(7)", "00"},  {"1.5", "0f"},        {"0.7", "06"},       {"2.3", "16"},
                 {"25.49", "fe"},  {"25.5", "ff"},    {"25.6", "ff"},       {"30", "ff"},        {"-1", "00"},
                 {"-0", "00"},     {"", "00"},        {"0.05", "00"},       {"0.1", "01"},       {"0x10", "a0"},
                 {"abc", nullptr}, {"1,5", nullptr},  {"--reset", nullptr}, {"1 ", nullptr},     {"1\n", nullptr},
                 {"1e", nullptr},  {"1e+", nullptr},  {"0x", nullptr},      {"0xg", nullptr},    {"1.5.5", nullptr},
                 {"- 1", nullptr}, {"--1", nullptr},  {".", nullptr},       {"-", nullptr},      {" ", nullptr},
                 {"e1", nullptr},  {"nano", nullptr}, {"nan(", nullptr},    {"infinit", nullptr}};
    for (const auto& c : cases) {
        sim::Board board;
        FakeKernel kernel(board);
        const ToolRun run = run_tool_words({"--reset-delay", c.text, "--reset"});
        EXPECT_EQ(run.status, c.tenths == nullptr ? 255 : 0) << c.text;
        if (c.tenths == nullptr) {
            EXPECT_EQ(run.err, log_line("error", "invalid parameter to --reset-delay")) << c.text;
            EXPECT_EQ(kernel.wire, Wire{}) << c.text;
        } else {
            EXPECT_EQ(kernel.wire.at(0).substr(0, 14), std::string("W 08 80: ") + c.tenths + " 01") << c.text;
        }
    }
}

TEST(BadInput, Words) {
    for (const std::string word : {"-",
                                   "--",
                                   "-version",
                                   "--version ",
                                   " --version",
                                   "--versio",
                                   "--versions",
                                   "--version=1",
                                   "--bus=0",
                                   "--reset_now",
                                   "\xe2\x80\x94version",
                                   "-help",
                                   "--h",
                                   "-H",
                                   "--HELP",
                                   "-?-",
                                   "\xff\xfe",
                                   "%s%s%n",
                                   "0",
                                   "\n"}) {
        sim::Board board;
        FakeKernel kernel(board);
        const ToolRun run = run_tool_words({"--bom-version", word, "--reset"});
        EXPECT_EQ(run.status, 255) << word;
        EXPECT_EQ(run.out, "-todo-\n") << word;
        EXPECT_EQ(run.err, log_line("error", "unknown command " + word)) << word;
        EXPECT_EQ(kernel.wire, Wire{}) << word;
    }
    const struct {
        Words words;
        std::string out;
        std::string err;
    } cases[] = {
        {{std::string(600, 'x')}, "", log_line("error", "unknown command " + std::string(511 - 16, 'x'))},
        {{"--set-mode", ""}, "ERROR: missing argument(s) to ''\n", ""},
        {{"--set-mode", "store ", "1"}, "", log_line("error", "unknown parameter to --set-mode")},
        {{"--set-mode", "led3", "off"}, "", log_line("error", "unknown parameter to --set-mode")},
        {{"--set-mode", "led1", "--reset"}, "", log_line("error", "invalid parameter to --set-mode led1")},
        {{"--read", ""}, "reading \ncould not open file\n", ""},
        {{"--update", ""}, "", log_line("info", "update file = error ()") + log_line("error", "could not open file")}};
    for (const auto& c : cases) {
        sim::Board board;
        FakeKernel kernel(board);
        const ToolRun run = run_tool_words(c.words);
        EXPECT_EQ(run.status, 255) << c.words[0];
        EXPECT_EQ(run.out, c.out) << c.words[0];
        EXPECT_EQ(run.err, c.err) << c.words[0];
        EXPECT_EQ(kernel.wire, Wire{}) << c.words[0];
    }
}

namespace {

/// --read-update, --update and --upd of a file that is refused.
void expect_refused(const std::string& path, const std::string& reason) {
    sim::Board board;
    FakeKernel kernel(board);
    ToolRun run = run_tool_words({"--read-update", path, "--bom-version"});
    EXPECT_EQ(run.status, 0) << reason;
    EXPECT_EQ(run.out, "reading file = error (" + path + ")\nmessage = " + reason + "\n-todo-\n");
    EXPECT_EQ(run.err, "");
    for (const char* command : {"--update", "--upd"}) {
        run = run_tool_words({command, path, "--bom-version"});
        EXPECT_EQ(run.status, 255) << reason;
        EXPECT_EQ(run.out, "") << reason;
        EXPECT_EQ(run.err,
                  log_line("info", ("update file = error (" + path + ")").substr(0, 511)) + log_line("error", reason));
    }
    EXPECT_EQ(kernel.wire, Wire{}) << path << reason;
}

}  // namespace

TEST(BadInput, Paths) {
    const std::string folder = testing::TempDir() + "sv_" + std::to_string(getpid()) + "_paths";
    ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
    const std::string loop = folder + "/loop";
    ASSERT_EQ(symlink(loop.c_str(), loop.c_str()), 0);
    const std::string closed = write_temporary("closed.svu", UpdateFileBytes{}.bytes());
    ASSERT_EQ(chmod(closed.c_str(), 0), 0);
    for (const std::string& path : {folder + "/none", folder + "/none/none", loop, closed + "/none",
                                    std::string(5000, 'x'), folder + "/" + std::string(256, 'x')}) {
        expect_refused(path, "could not open file");
    }
    expect_refused(folder, "invalid file (could not find header)");
    const std::string mem = folder + "/mem";  // whose first bytes can't be read
    ASSERT_EQ(symlink("/proc/self/mem", mem.c_str()), 0);
    expect_refused(mem, "invalid file (could not find header)");
    // Nobody else than root is held up by the mode of a file.
    const bool was_root = geteuid() == 0 && seteuid(65'534) == 0;
    if (geteuid() != 0) {
        expect_refused(closed, "could not open file");
    }
    ASSERT_TRUE(!was_root || seteuid(0) == 0);
    for (const std::string& path : {closed, loop, mem, folder}) {
        std::remove(path.c_str());
    }
}

TEST(BadInput, NoMemoryForTheFlash) {
    const std::string good = write_temporary("good.svu", UpdateFileBytes{}.bytes());
    const std::string memory = write_temporary("memory.bin", {1, 2, 3});
    const struct {
        Words words;
        std::string out;
        std::string err;
    } cases[] = {
        {{"--update", good},
         "",
         log_line("info", "update file = error (" + good + ")") +
             log_line("error", "out of memory for the update file")},
        {{"--read", memory}, "reading " + memory + "\n", log_line("error", "out of memory for the read-back")}};
    for (const auto& c : cases) {
        sim::Board board;
        FakeKernel kernel(board);
        kernel.largest_block = 0x41FFF;
        const auto size = std::filesystem::file_size(c.words[1]);
        const ToolRun run = run_tool_words(c.words);
        EXPECT_EQ(run.status, 255) << c.words[0];
        EXPECT_EQ(std::filesystem::file_size(c.words[1]), size) << c.words[0];
        EXPECT_EQ(run.out, c.out) << c.words[0];
        EXPECT_EQ(run.err, c.err) << c.words[0];
        EXPECT_EQ(kernel.wire, Wire{}) << c.words[0];
        std::remove(c.words[1].c_str());
    }
}

TEST(BadInput, Files) {
    using Bytes = std::vector<uint8_t>;
    const Bytes good = UpdateFileBytes{}.bytes();
    const auto edited = [&good](auto edit) {
        Bytes bytes = good;
        edit(bytes);
        return bytes;
    };
    const auto text = [](const std::string& words) { return Bytes(words.begin(), words.end()); };
    const char* no_header = "invalid file (could not find header)";
    const struct {
        const char* what;
        Bytes bytes;
        const char* reason;
    } cases[] = {
        {"seven bytes of the magic", text("SVxMega"), no_header},
        {"a saved magic of another system", text("SVxMega\r\n" + std::string(300'000, 'x')), no_header},
        {"capitals", edited([](Bytes& b) { b[0] = 's'; }), no_header},
        {"zeros", Bytes(good.size(), 0), no_header},
        {"erased flash", Bytes(good.size(), 0xFF), no_header},
        {"NUL before everything", edited([](Bytes& b) { b.insert(b.begin(), uint8_t{0}); }), no_header},
        {"the magic ends at the search's last byte but one",
         edited([](Bytes& b) { b.insert(b.begin(), 1018, uint8_t{'p'}); }), no_header},
        {"the magic again in the image, the first one damaged",
         edited([](Bytes& b) { std::copy_n(b.begin(), 8, b.begin() + 500), b[7] = ' '; }), "invalid file (wrong size)"},
        {"23 bytes", text("SVxMega\n" + std::string(15, '\0')), "could not seek in file for info structure"},
        {"24 bytes, the magic taken for the software ids", text("SVxMega\n" + std::string(16, '\0')),
         "invalid swid (region mismatch)"},
        {"32 bytes", text("SVxMega\n" + std::string(24, '\0')), "invalid region size (hwid mismatch)"},
        {"half", edited([](Bytes& b) { b.resize(b.size() / 2); }), "invalid region size (hwid mismatch)"},
        {"its last byte lost", edited([](Bytes& b) { b.pop_back(); }), "invalid swid (region mismatch)"},
        {"a line end behind it", edited([](Bytes& b) { b.push_back('\n'); }), "invalid swid (region mismatch)"},
        {"twice", edited([&good](Bytes& b) { b.insert(b.end(), good.begin(), good.end()); }),
         "invalid file (wrong size)"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string path = write_temporary("bad.svu", c.bytes);
        expect_refused(path, c.reason);
        std::remove(path.c_str());
    }
    const std::string path = write_temporary("huge.svu", text("SVxMega\n"));
    ASSERT_EQ(truncate(path.c_str(), off_t{3} << 30), 0);
    expect_refused(path, "invalid region size (hwid mismatch)");
    std::remove(path.c_str());
}
