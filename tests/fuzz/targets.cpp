// SPDX-License-Identifier: MIT
#include <cstring>

#include "tests/fuzz/target.h"

namespace {

constexpr struct {
    const char* name;
    Target run;
} kTargets[] = {{"bus_answers", bus_answers},
                {"command_words", command_words},
                {"update_file", update_file},
                {"firmware", firmware},
                {"pack", pack},
                {"diff", diff},
                {"recording", recording}};

}  // namespace

Target target_of(const char* path) {
    const char* slash = std::strrchr(path, '/');
    const std::string_view name = slash == nullptr ? path : slash + 1;
    for (const auto& target : kTargets) {
        if (name == target.name || (name.starts_with("fuzz_") && name.substr(5) == target.name)) {
            return target.run;
        }
    }
    std::fprintf(stderr, "%s: no fuzz target\n", path);
    std::abort();
}
