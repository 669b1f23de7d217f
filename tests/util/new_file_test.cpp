// SPDX-License-Identifier: MIT
#include "util/new_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <vector>

#include "util/new_file_steps.h"

namespace {

namespace fs = std::filesystem;

std::string content(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

void plant(const fs::path& path, const std::string& text) {
    std::ofstream(path) << text;
}

struct NewFileTest : testing::Test {
    fs::path folder = fs::temp_directory_path() / ("sv_new_file_" + std::to_string(getpid()));
    fs::path target = folder / "target";
    fs::path other = folder / "other";

    NewFileTest() {
        start();
    }

    ~NewFileTest() override {
        fs::remove_all(folder);
    }

    void start() const {
        fs::remove_all(folder);
        fs::create_directory(folder);
        plant(other, "other");
    }

    size_t files() const {
        return static_cast<size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
    }

    /// 0, or the reason of the first failed step. `meanwhile` runs before the file is put in place.
    int save(
        Existing existing, const std::function<void()>& meanwhile = [] {}) const {
        NewFile file;
        if (!file.create(target.c_str(), existing)) {
            return errno;
        }
        const bool written = file.write("ne", 2) && file.write("w", 1);
        EXPECT_TRUE(written);
        meanwhile();
        return file.put_in_place() ? 0 : errno;
    }
};

TEST_F(NewFileTest, WhatStandsAtTheTargetBeforeOrMeanwhile) {
    const struct {
        const char* name;
        std::function<void()> plant;
        int kept;
        int replaced;
    } kRows[] = {
        {"nothing", [] {}, 0, 0},
        {"a file", [this] { plant(target, "old"); }, EEXIST, 0},
        {"a link to a file", [this] { fs::create_symlink(other, target); }, EEXIST, ELOOP},
        {"a dangling link", [this] { fs::create_symlink(folder / "none", target); }, EEXIST, ELOOP},
        {"a folder", [this] { fs::create_directory(target); }, EEXIST, EISDIR},
        {"a pipe", [this] { mkfifo(target.c_str(), 0600); }, EEXIST, EEXIST},
    };
    for (const auto& row : kRows) {
        for (const bool before : {true, false}) {
            for (const Existing existing : {Existing::kKept, Existing::kReplaced}) {
                SCOPED_TRACE(row.name + std::string(before ? ", before" : ", meanwhile"));
                start();
                if (before) {
                    row.plant();
                }
                const int expected = existing == Existing::kKept ? row.kept : row.replaced;
                EXPECT_EQ(before ? save(existing) : save(existing, row.plant), expected);
                const fs::file_status status = fs::symlink_status(target);
                EXPECT_EQ(fs::is_regular_file(status) && content(target) == "new", expected == 0);
                EXPECT_EQ(content(other), "other");
                EXPECT_EQ(files(), 1U + (fs::exists(status) ? 1 : 0));
            }
        }
    }
}

// What happens on a file system without links.
TEST_F(NewFileTest, ARenameReplacesNothing) {
    const int directory = open(folder.c_str(), O_RDONLY | O_DIRECTORY);
    const fs::path own = folder / "own";
    plant(own, "own");
    EXPECT_FALSE(rename_if_free(directory, "own", "other"));
    EXPECT_EQ(errno, EEXIST);
    fs::create_symlink(folder / "none", folder / "link");
    EXPECT_FALSE(rename_if_free(directory, "own", "link"));
    EXPECT_EQ(errno, EEXIST);
    EXPECT_FALSE(rename_if_free(directory, "missing", "target"));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(content(other) + content(own), "otherown");
    EXPECT_EQ(files(), 3U);
    EXPECT_TRUE(rename_if_free(directory, "own", "target"));
    EXPECT_EQ(content(target), "own");
    EXPECT_EQ(files(), 3U);
    close(directory);
}

TEST_F(NewFileTest, AnotherOwnersFileStays) {
    plant(target, "old");
    if (chown(target.c_str(), 1, 1) != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    EXPECT_EQ(save(Existing::kReplaced), EPERM);
    EXPECT_EQ(content(target), "old");
}

TEST_F(NewFileTest, AFileExchangedBeforeItIsInPlaceIsNoticed) {
    for (const Existing existing : {Existing::kKept, Existing::kReplaced}) {
        start();
        EXPECT_EQ(save(existing,
                       [this] {
                           for (const auto& entry : fs::directory_iterator(folder)) {
                               if (entry.path() != other) {
                                   fs::rename(entry.path(), folder / "moved");
                                   plant(entry.path(), "foreign");
                               }
                           }
                       }),
                  ESTALE);
    }
}

TEST_F(NewFileTest, PathsThatLeadNowhere) {
    const std::pair<std::string, int> cases[] = {{"", EISDIR},
                                                 {folder / "", EISDIR},
                                                 {folder / "..", EISDIR},
                                                 {folder / "none/target", ENOENT},
                                                 {other / "target", ENOTDIR},
                                                 {folder / std::string(256, 'x'), ENAMETOOLONG},
                                                 {folder.string() + std::string(4096, '/') + "x", ENAMETOOLONG}};
    for (const auto& [path, reason] : cases) {
        NewFile file;
        EXPECT_FALSE(file.create(path.c_str(), Existing::kReplaced)) << path;
        EXPECT_EQ(errno, reason) << path;
    }
    EXPECT_EQ(files(), 1U);
}

// A limit of the file size is like a full disk: a short write, then an error.
TEST_F(NewFileTest, NothingIsLeftOfAFileThatCouldNotBeWritten) {
    plant(target, "old");
    const auto before = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small = {1000, limit.rlim_max};
    {
        NewFile file;
        EXPECT_TRUE(file.create(target.c_str(), Existing::kReplaced));
        setrlimit(RLIMIT_FSIZE, &small);
        const std::vector<char> bytes(2000);
        EXPECT_FALSE(file.write(bytes.data(), bytes.size()));
        EXPECT_EQ(errno, EFBIG);
        setrlimit(RLIMIT_FSIZE, &limit);
        EXPECT_FALSE(file.write("x", 1));
        EXPECT_FALSE(file.put_in_place());
        EXPECT_EQ(errno, EFBIG);
        errno = 0;
    }
    EXPECT_EQ(errno, 0);
    std::signal(SIGXFSZ, before);
    EXPECT_EQ(files(), 2U);
    EXPECT_EQ(content(target), "old");
}

TEST_F(NewFileTest, ANameInTheWorkingFolderAndTheUmaskDecidesWhoMayReadIt) {
    const fs::path before = fs::current_path();
    fs::current_path(folder);
    target = "target";
    const mode_t mask = umask(027);
    EXPECT_EQ(save(Existing::kKept), 0);
    umask(mask);
    fs::current_path(before);
    EXPECT_EQ(content(folder / "target"), "new");
    EXPECT_EQ(fs::status(folder / "target").permissions(), fs::perms(0640));
}

}  // namespace
