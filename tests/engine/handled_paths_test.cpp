// The list of handled destination paths: in memory while short, on disk once long.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "engine/handled_paths.h"
#include "support/support.h"

namespace qvt {
namespace {

namespace fs = std::filesystem;

// Files of this process open in `folder`, named or not (an unnamed file shows as
// "<folder>/#<inode> (deleted)").
int openFilesIn(const std::string& folder) {
    int n = 0;
    for (const auto& fd : fs::directory_iterator("/proc/self/fd")) {
        std::error_code ec;
        const std::string target = fs::read_symlink(fd.path(), ec).string();
        if (!ec && target.rfind(folder + "/", 0) == 0) ++n;
    }
    return n;
}

// Long entries, so that entries straddle the blocks the file is read back in.
std::vector<std::string> manyPaths(int count, std::size_t length) {
    std::vector<std::string> paths;
    for (int i = 0; i < count; ++i) {
        std::string p = "/dest/" + std::to_string(i) + "/";
        p.resize(length, static_cast<char>('a' + i % 26));
        paths.push_back(p);
    }
    return paths;
}

TEST(HandledPaths, AShortListStaysInMemoryAndKeepsItsOrder) {
    test::TempDir dir;
    HandledPaths list;
    list.setSpillFolder(dir.path());
    EXPECT_TRUE(list.empty());
    EXPECT_FALSE(list.contains("/a"));
    list.append("/d/b.txt");
    list.append("/d/a.txt");
    list.append("");
    EXPECT_EQ(list.size(), 3u);
    EXPECT_EQ(list.get(), (std::vector<std::string>{"/d/b.txt", "/d/a.txt", ""}));
    EXPECT_EQ(openFilesIn(dir.path()), 0);
    EXPECT_TRUE(fs::is_empty(dir.path()));
}

TEST(HandledPaths, ALongListGoesToAnUnnamedFileAndComesBackWhole) {
    test::TempDir dir;
    HandledPaths list;
    list.setSpillFolder(dir.path());
    const auto paths = manyPaths(1500, 1000);  // 1.5 MB
    for (const auto& p : paths) list.append(p);

    EXPECT_EQ(list.size(), paths.size());
    EXPECT_EQ(list.get(), paths);
    // The entries are in a file of this process that no one else can find in the folder.
    EXPECT_EQ(openFilesIn(dir.path()), 1);
    EXPECT_TRUE(fs::is_empty(dir.path()));
}

TEST(HandledPaths, ContainsFindsWholeEntriesOnly) {
    test::TempDir dir;
    HandledPaths list;
    list.setSpillFolder(dir.path());
    const auto paths = manyPaths(1500, 1000);
    for (const auto& p : paths) list.append(p);
    EXPECT_TRUE(list.contains(paths.front()));
    EXPECT_TRUE(list.contains(paths[777]));
    EXPECT_TRUE(list.contains(paths.back()));
    EXPECT_FALSE(list.contains(paths[777].substr(0, 999)));
    EXPECT_FALSE(list.contains(paths[777] + "x"));
    // Entries appended after the first look-up are found too.
    list.append("/later/one");
    EXPECT_TRUE(list.contains("/later/one"));
    list.set({});
    EXPECT_FALSE(list.contains(paths.front()));
    EXPECT_FALSE(list.contains("/later/one"));
}

TEST(HandledPaths, ASnapshotKeepsWhatTheListHeldWhenItWasTaken) {
    test::TempDir dir;
    HandledPaths list;
    list.setSpillFolder(dir.path());
    const auto paths = manyPaths(1500, 1000);
    for (std::size_t i = 0; i < 1000; ++i) list.append(paths[i]);
    const HandledPaths::Snapshot before = list.snapshot();
    for (std::size_t i = 1000; i < paths.size(); ++i) list.append(paths[i]);
    list.set({"/new"});

    std::vector<std::string> seen;
    EXPECT_TRUE(before.forEach([&](std::string_view p) {
        seen.emplace_back(p);
        return true;
    }));
    EXPECT_EQ(before.size(), 1000u);
    EXPECT_EQ(seen, std::vector<std::string>(paths.begin(), paths.begin() + 1000));
    EXPECT_EQ(list.get(), std::vector<std::string>{"/new"});
}

TEST(HandledPaths, WithoutAUsableFolderTheListStaysInMemory) {
    test::TempDir dir;
    HandledPaths list;
    list.setSpillFolder(dir / "missing");
    const auto paths = manyPaths(300, 1000);
    for (const auto& p : paths) list.append(p);
    EXPECT_EQ(list.get(), paths);
    EXPECT_TRUE(list.contains(paths[123]));
    EXPECT_FALSE(fs::exists(dir / "missing"));
}

TEST(HandledPaths, SetReplacesTheListAndALongOneGoesToDisk) {
    test::TempDir dir;
    HandledPaths list;
    list.setSpillFolder(dir.path());
    list.append("/old");
    const auto paths = manyPaths(200, 1000);
    list.set(paths);
    EXPECT_EQ(list.size(), 200u);
    EXPECT_EQ(list.get(), paths);
    EXPECT_EQ(openFilesIn(dir.path()), 1);
    list.set({});
    EXPECT_TRUE(list.empty());
    EXPECT_TRUE(list.get().empty());
    // The old file went with the list's last hold on it.
    EXPECT_EQ(openFilesIn(dir.path()), 0);
}

}  // namespace
}  // namespace qvt
