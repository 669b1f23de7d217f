// SPDX-License-Identifier: MIT
// Runs a target, without a fuzzer, on every file of the folders that the command line names.
#include <algorithm>
#include <cstdio>
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
            const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
            std::printf("%s\n", path.c_str());
            std::fflush(stdout);
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
            ++count;
        }
    }
    std::printf("%zu inputs\n", count);
    return count > 0 ? 0 : 1;
}
