// SPDX-License-Identifier: MIT
#include "image/host_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "update/update_file.h"
#include "util/new_file.h"

namespace {

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
        error = path + " exists (--force replaces it)";
        return false;
    }
    return true;
}

std::string directory_of(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

bool tool_loads(const std::vector<uint8_t>& bytes, std::string& error) {
    McuDevice device(nullptr);
    if (load_bytes(bytes, device, error)) {
        return true;
    }
    error = "the new file does not load: " + error;
    return false;
}

}  // namespace

bool read_bytes(const std::string& path, size_t limit, std::vector<uint8_t>& bytes, std::string& error) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        return system_error(path, error);
    }
    bytes.resize(limit + 1);
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    const bool ok = std::ferror(file) == 0 || system_error(path, error);
    std::fclose(file);
    return ok;
}

bool is_pipe(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

bool is_one_of(const std::string& path, const std::vector<std::string>& files, std::string& error) {
    for (const std::string& file : files) {
        std::error_code unknown;
        if (std::filesystem::equivalent(file, path, unknown)) {
            error = path + " is one of the inputs";
            return true;
        }
    }
    return false;
}

bool load_bytes(const std::vector<uint8_t>& bytes, McuDevice& device, std::string& error) {
    // Only read: "rb".
    std::FILE* file = fmemopen(const_cast<uint8_t*>(bytes.data()), bytes.size(), "rb");
    if (file == nullptr) {
        error = std::strerror(errno);
        return false;
    }
    const bool ok = parse_update_file(device, file);
    std::fclose(file);
    if (!ok) {
        error = device.last_error.c_str();
    }
    return ok;
}

bool save_file(const std::string& path, Replace replace, Content content, const std::vector<uint8_t>& bytes,
               std::string& error) {
    if (!check_target(path, replace, error) || (content == Content::kUpdateFile && !tool_loads(bytes, error))) {
        return false;
    }
    NewFile file;
    if (!file.create(path.c_str(), replace == Replace::kYes ? Existing::kReplaced : Existing::kKept)) {
        return system_error("could not create a file in " + directory_of(path), error);
    }
    return (file.write(bytes.data(), bytes.size()) && file.put_in_place()) ||
           system_error("could not write " + path, error);
}
