// SPDX-License-Identifier: MIT
// Runs targets, without a fuzzer, on every file of the folders that the command line names: the last part of each is
// the target.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "tests/fuzz/target.h"

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
