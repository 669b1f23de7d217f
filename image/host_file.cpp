// SPDX-License-Identifier: MIT
#include "image/host_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "update/update_file.h"

namespace {

bool system_error(const std::string& subject, std::string& error) {
    error = subject + ": " + std::strerror(errno);
    return false;
}

bool check_target(const std::string& path, Replace replace, std::string& error) {
    struct stat status {};
    // lstat: a dangling link counts as an existing file.
    if (lstat(path.c_str(), &status) != 0) {
        return true;
    }
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
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

bool write_all(int descriptor, const std::vector<uint8_t>& bytes) {
    for (size_t done = 0; done < bytes.size();) {
        const ssize_t count = write(descriptor, bytes.data() + done, bytes.size() - done);
        if (count < 0) {
            return false;
        }
        done += static_cast<size_t>(count);
    }
    // mkstemp grants access to the owner only.
    const mode_t mask = umask(0);
    umask(mask);
    return fchmod(descriptor, 0666 & ~mask) == 0 && fsync(descriptor) == 0;
}

bool fill_and_close(int descriptor, const std::vector<uint8_t>& bytes, const std::string& path, std::string& error) {
    const bool written = write_all(descriptor, bytes) || system_error("could not write " + path, error);
    const bool closed = close(descriptor) == 0;
    return written && (closed || system_error("could not write " + path, error));
}

bool tool_loads(const std::string& path, std::string& error) {
    McuDevice device(nullptr);
    if (load_update_file(device, path.c_str())) {
        return true;
    }
    error = "the new file does not load: " + std::string(device.last_error.c_str());
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

bool save_file(const std::string& path, Replace replace, Content content, const std::vector<uint8_t>& bytes,
               std::string& error) {
    if (!check_target(path, replace, error)) {
        return false;
    }
    std::string temporary = directory_of(path) + ".sv_image-XXXXXX";
    const int descriptor = mkstemp(temporary.data());
    if (descriptor < 0) {
        return system_error("could not create a file in " + directory_of(path), error);
    }
    if (fill_and_close(descriptor, bytes, path, error) && (content == Content::kAny || tool_loads(temporary, error)) &&
        (std::rename(temporary.c_str(), path.c_str()) == 0 || system_error("could not write " + path, error))) {
        return true;
    }
    unlink(temporary.c_str());
    return false;
}
