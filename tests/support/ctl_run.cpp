// SPDX-License-Identifier: MIT
#include "ctl/command_line.h"
#include "tests/support/tool_run.h"

ToolRun run_ctl_words(Words words) {
    words.insert(words.begin(), "sv_ctl");
    std::vector<const char*> argv;
    for (const std::string& word : words) {
        argv.push_back(word.c_str());
    }
    argv.push_back(nullptr);
    return capture([&] {
        const ProgramCalls calls;
        return run_ctl(static_cast<int>(words.size()), argv.data());
    });
}

std::string member(const std::string& json, const std::string& key) {
    const std::string name = "\"" + key + "\":";
    const size_t at = json.find(name);
    if (at == std::string::npos) {
        return "no such key";
    }
    const size_t begin = at + name.size();
    return json.substr(begin, json.find_first_of(",}", json[begin] == '"' ? json.find('"', begin + 1) : begin) - begin);
}
