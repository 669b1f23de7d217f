// SPDX-License-Identifier: MIT
// The fuzzer of the target in the program's own name, fuzz_TARGET; or, without libFuzzer, the replay of the folders
// that the command line names: the last part of each is the target.
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "tests/fuzz/target.h"

namespace {

constexpr struct {
    const char* name;
    void (*run)(Input input);
} kTargets[] = {{"bus_answers", bus_answers},
                {"command_words", command_words},
                {"update_file", update_file},
                {"image_info", image_info},
                {"prefix", prefix},
                {"hex", hex},
                {"srec", srec},
                {"elf", elf},
                {"pack", pack},
                {"diff", diff},
                {"extract", extract}};

auto target_of(const std::filesystem::path& path) {
    const std::string name = path.filename();
    for (const auto& target : kTargets) {
        if (name == target.name || name == std::string("fuzz_") + target.name) {
            return target.run;
        }
    }
    std::fprintf(stderr, "%s: no fuzz target\n", path.c_str());
    std::abort();
}

}  // namespace

#ifdef SV_FUZZ

static decltype(kTargets[0].run) chosen;

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** argv) {
    chosen = target_of((*argv)[0]);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    chosen({{data, size}});
    return 0;
}

#else

int main(int argc, char** argv) {
    size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        std::vector<std::filesystem::path> files;
        std::copy(std::filesystem::directory_iterator(argv[i]), {}, std::back_inserter(files));
        std::sort(files.begin(), files.end());
        for (const auto& path : files) {
            std::ifstream in(path, std::ios::binary);
            const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
            std::fprintf(stderr, "%s\n", path.c_str());
            target_of(argv[i])({bytes});
            ++count;
        }
    }
    std::printf("%zu inputs\n", count);
    return count > 0 ? 0 : 1;
}

#endif
