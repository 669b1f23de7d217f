// SPDX-License-Identifier: MIT
#include "image/host_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "util/new_file.h"
#include "util/printable.h"
#include "util/process.h"

namespace {

constexpr size_t kBlock = 0x10000;
constexpr size_t kUsualSize = 0x48000;  // above an update file and a read-back

bool is_standard(const std::string& path) {
    return path == "-";
}

bool system_error(const std::string& subject, std::string& error) {
    error = subject + ": " + std::strerror(errno);
    return false;
}

/// The answers to what NewFile would refuse as well.
bool check_target(const std::string& path, Replace replace, std::string& error) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return true;
    }
    if (!S_ISREG(status.st_mode)) {
        error = path + " is not a regular file";
        return false;
    }
    if (replace == Replace::kNo) {
        error = path + " exists (--replace replaces it)";
        return false;
    }
    return true;
}

std::string directory_of(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

bool write_standard_output(const std::vector<uint8_t>& bytes, std::string& error) {
    if (isatty(STDOUT_FILENO) != 0) {
        error = "standard output is a terminal: send it to a file or a program";
        return false;
    }
    return (std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size() && std::fflush(stdout) == 0) ||
           system_error("could not write standard output", error);
}

bool read_stream(std::FILE* file, size_t limit, std::vector<uint8_t>& bytes) {
    uint8_t block[kBlock];
    for (size_t count = 1; count > 0 && bytes.size() <= limit;) {
        count = std::fread(block, 1, std::min(kBlock, limit + 1 - bytes.size()), file);
        bytes.insert(bytes.end(), block, block + count);
    }
    return std::ferror(file) == 0;
}

}  // namespace

std::string shown_path(const std::string& path) {
    return is_standard(path) ? "standard input" : path.empty() ? "''" : path;
}

void print_message(const std::string& text) {
    std::fprintf(stderr, "sv_image: %s\n", printable(text).c_str());
}

void print_omitted(const std::string& path, const std::vector<std::string>& omitted) {
    for (const std::string& text : omitted) {
        print_message("warning: " + shown_path(path) + ": " + text);
    }
}

bool read_bytes(const std::string& path, size_t limit, std::vector<uint8_t>& bytes, std::string& error) {
    std::FILE* file = is_standard(path) ? stdin : std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        return system_error(shown_path(path), error);
    }
    bytes.clear();
    bytes.reserve(std::min(limit + 1, kUsualSize));
    const bool ok = read_stream(file, limit, bytes) || system_error(shown_path(path), error);
    if (file != stdin) {
        std::fclose(file);
    }
    return ok;
}

bool check_names(const std::string& output, const std::vector<std::string>& inputs, std::string& error) {
    if (std::count_if(inputs.begin(), inputs.end(), is_standard) > 1) {
        error = "standard input can be read only once: save it as a file";
        return false;
    }
    for (const std::string& input : inputs) {
        std::error_code unknown;
        if (!is_standard(output) && std::filesystem::equivalent(input, output, unknown)) {
            error = output + " is one of the inputs";
            return false;
        }
    }
    return true;
}

bool save_file(const std::string& path, Replace replace, const std::vector<uint8_t>& bytes, std::string& error) {
    if (is_standard(path)) {
        return write_standard_output(bytes, error);
    }
    if (!check_target(path, replace, error)) {
        return false;
    }
    const SignalPause pause;  // no temporary file may remain
    NewFile file;
    if (!file.create(path.c_str(), replace == Replace::kYes ? Existing::kReplaced : Existing::kKept)) {
        return system_error("could not create a file in " + directory_of(path), error);
    }
    return (file.write(bytes.data(), bytes.size()) && file.put_in_place()) ||
           system_error("could not write " + path, error);
}

std::FILE* report_stream(const std::string& output) {
    return is_standard(output) ? stderr : stdout;
}
