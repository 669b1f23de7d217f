// SPDX-License-Identifier: MIT
#include "tests/support/tool_run.h"

#include <cstdio>
#include <cstdlib>

#include "cli/commands.h"

OutputCapture::OutputCapture() {
    out_.file = open_memstream(&out_.bytes, &out_.size);
    out_.replaced = stdout;
    stdout = out_.file;
    err_.file = open_memstream(&err_.bytes, &err_.size);
    err_.replaced = stderr;
    stderr = err_.file;
}

OutputCapture::~OutputCapture() {
    stdout = out_.replaced;
    stderr = err_.replaced;
    for (Stream* stream : {&out_, &err_}) {
        std::fclose(stream->file);
        std::free(stream->bytes);
    }
}

std::string OutputCapture::text(Stream& stream) {
    std::fflush(stream.file);
    return {stream.bytes, stream.size};
}

std::string OutputCapture::out() {
    return text(out_);
}

std::string OutputCapture::err() {
    return text(err_);
}

ToolRun run_tool_words(std::vector<std::string> words) {
    words.insert(words.begin(), "sv_updater");
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    return capture([&] { return run_tool(static_cast<int>(words.size()), argv.data()); });
}

std::string log_line(const std::string& level, const std::string& text) {
    std::string padded = level;
    padded.resize(6, ' ');
    return "[21:53:20] " + padded + ": " + text + "\n";
}
