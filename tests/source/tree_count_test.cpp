// The count of one item on disk: files, folders and bytes, hidden items, links, odd names,
// unreadable and vanishing folders, and very deep trees.
#include <fcntl.h>
#include <grp.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <future>
#include <string>
#include <thread>

#include "source/tree_count.h"
#include "support/support.h"

namespace fs = std::filesystem;
using qvt::source::countItem;
using qvt::source::TreeCount;
using qvt::source::WalkOptions;
using qvt::test::TempDir;
using qvt::test::writeFile;

namespace {

std::string bytes(std::size_t n) {
    return std::string(n, 'x');
}

TreeCount count(std::int64_t files, std::int64_t folders, std::uint64_t size) {
    TreeCount c;
    c.files = files;
    c.folders = folders;
    c.bytes = size;
    return c;
}

void PrintTo(const TreeCount& c, std::ostream* os) {
    *os << c.files << " files, " << c.folders << " folders, " << c.bytes << " bytes";
}

}  // namespace

namespace qvt::source {
void PrintTo(const TreeCount& c, std::ostream* os) {
    ::PrintTo(c, os);
}
}  // namespace qvt::source

TEST(TreeCount, MissingPathCountsNothing) {
    TempDir dir;
    EXPECT_EQ(countItem(dir / "nothing-here"), count(0, 0, 0));
    EXPECT_EQ(countItem(""), count(0, 0, 0));
}

TEST(TreeCount, FileIsOneFileOfItsSize) {
    TempDir dir;
    writeFile(dir / "a.txt", bytes(500));
    EXPECT_EQ(countItem(dir / "a.txt"), count(1, 0, 500));
}

TEST(TreeCount, FolderCountsItselfEverythingBelowAndNoFolderSizes) {
    TempDir dir;
    writeFile(dir / "f/one.bin", bytes(1000000));
    writeFile(dir / "f/two.bin", bytes(500000));
    fs::create_directories(dir / "f/empty");
    EXPECT_EQ(countItem(dir / "f"), count(2, 2, 1500000));
}

TEST(TreeCount, HiddenItemsAreIncluded) {
    TempDir dir;
    writeFile(dir / "f/.hidden", bytes(7));
    writeFile(dir / "f/.cache/inner/.x", bytes(3));
    EXPECT_EQ(countItem(dir / "f"), count(2, 3, 10));
}

TEST(TreeCount, LinksInsideAreCountedAsWhatTheyLeadTo) {
    TempDir dir;
    writeFile(dir / "f/real.txt", bytes(100));
    writeFile(dir / "elsewhere/big.bin", bytes(5000));
    writeFile(dir / "elsewhere/sub/more.bin", bytes(5000));
    fs::create_symlink(dir / "elsewhere", dir / "f/to-folder");
    fs::create_symlink(dir / "elsewhere/big.bin", dir / "f/to-file");
    fs::create_symlink(dir / "gone", dir / "f/broken");
    // The copy writes real.txt, the file the link leads to, and the linked folder with both
    // its files: four files, the folders f, to-folder and its sub. The broken link is one more
    // item, of no size: the copy reports it as a failed item.
    EXPECT_EQ(countItem(dir / "f"), count(5, 3, 15100));
    EXPECT_EQ(countItem(dir / "f/broken"), count(1, 0, 0));
    EXPECT_EQ(countItem(dir / "nothing here"), count(0, 0, 0));
}

TEST(TreeCount, LinkedFoldersAreWalkedWhenLevelsAreClosedAndOpenedAgain) {
    TempDir dir;
    writeFile(dir / "elsewhere/x/y/z/deep.bin", bytes(7));
    writeFile(dir / "elsewhere/x/y/mid.bin", bytes(5));
    writeFile(dir / "f/a/b/c/own.bin", bytes(3));
    fs::create_symlink(dir / "elsewhere", dir / "f/a/link");
    fs::create_symlink(dir / "f/a", dir / "f/a/b/c/back");  // a loop: one item of no size
    const TreeCount wide = countItem(dir / "f");
    EXPECT_EQ(wide, count(4, 8, 15));
    // Two open levels: the walk closes the levels above and opens them again by name, the
    // linked one following its link.
    EXPECT_EQ(countItem(dir / "f", WalkOptions{2, {}}), wide);
}

// A folder left out of walks is neither counted nor gone into, met by its name, through a link
// or as the walk's root; another folder of the same name is counted as any other.
TEST(TreeCount, AFolderLeftOutIsNeitherCountedNorGoneInto) {
    TempDir dir;
    writeFile(dir / "home/notes.txt", bytes(4));
    writeFile(dir / "home/.mounts/share/big.bin", bytes(1000));
    writeFile(dir / "home/deeper/.mounts/own.bin", bytes(6));
    fs::create_symlink(dir / "home/.mounts", dir / "home/to-mounts");
    struct stat st {};
    ASSERT_EQ(::stat((dir / "home/.mounts").c_str(), &st), 0);
    WalkOptions options;
    options.skipped.push_back(
        {".mounts", static_cast<std::uint64_t>(st.st_dev), static_cast<std::uint64_t>(st.st_ino)});

    // home, deeper and deeper/.mounts; notes.txt and own.bin.
    EXPECT_EQ(countItem(dir / "home", options), count(2, 3, 10));
    EXPECT_EQ(countItem(dir / "home/.mounts", options), count(0, 0, 0));
    EXPECT_EQ(countItem(dir / "home/to-mounts", options), count(0, 0, 0));
    // Without it: .mounts, share, the link's folder and the file under both.
    EXPECT_EQ(countItem(dir / "home"), count(4, 7, 2010));

    // Two open levels: the names read ahead when a level closes are left out the same way.
    options.openLevels = 2;
    EXPECT_EQ(countItem(dir / "home", options), count(2, 3, 10));
}

TEST(TreeCount, TopLevelLinkIsFollowed) {
    TempDir dir;
    writeFile(dir / "f/a", bytes(10));
    writeFile(dir / "f/b/c", bytes(20));
    fs::create_symlink(dir / "f", dir / "link");
    EXPECT_EQ(countItem(dir / "link"), count(2, 2, 30));
}

TEST(TreeCount, SymlinkLoopsInsideAFolderEnd) {
    TempDir dir;
    writeFile(dir / "f/a", bytes(10));
    fs::create_directories(dir / "f/sub");
    fs::create_symlink(dir / "f", dir / "f/sub/up");       // back to the top
    fs::create_symlink(".", dir / "f/self");               // to itself
    fs::create_symlink(dir / "f/loop2", dir / "f/loop1");  // a pair of links pointing at
    fs::create_symlink(dir / "f/loop1", dir / "f/loop2");  // each other resolves to nothing
    auto result = std::async(std::launch::async, [&] { return countItem(dir / "f"); });
    ASSERT_EQ(result.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    // Every link here leads back to a folder above it or to nothing: none is gone into, and
    // each is one item of no size that the copy reports. f and sub are the folders.
    EXPECT_EQ(result.get(), count(5, 2, 10));
}

TEST(TreeCount, OddNamesAreCounted) {
    TempDir dir;
    writeFile(dir / "f/with blanks  .txt", bytes(1));
    writeFile(dir / "f/Grüße — 日本語.txt", bytes(2));
    writeFile(dir / "f/line\nbreak", bytes(4));
    writeFile(dir / "f/folder with\nnewline/inner", bytes(8));
    writeFile(dir / "f/ leading and trailing /x", bytes(16));
    EXPECT_EQ(countItem(dir / "f"), count(5, 3, 31));
    EXPECT_EQ(countItem(dir / "f/line\nbreak"), count(1, 0, 4));
    EXPECT_EQ(countItem(dir / "f/folder with\nnewline"), count(1, 1, 8));
}

TEST(TreeCount, DeepTreeBeyondTheOpenLevelsIsCountedWhole) {
    TempDir dir;
    // 300 levels, each with a file and a side folder holding a file: far more levels than the
    // walk keeps open, so most levels are read to their end early and opened again later.
    std::string path = dir / "deep";
    fs::create_directories(path);
    for (int i = 0; i < 300; ++i) {
        writeFile(path + "/file", bytes(3));
        writeFile(path + "/side/leaf", bytes(5));
        path += "/d";
    }
    fs::create_directories(path);
    const TreeCount expected = count(600, 1 + 300 + 300, 300 * 8);
    EXPECT_EQ(countItem(dir / "deep"), expected);
    WalkOptions narrow;
    narrow.openLevels = 3;
    EXPECT_EQ(countItem(dir / "deep", narrow), expected);
    narrow.openLevels = 0;  // taken as the least that works
    EXPECT_EQ(countItem(dir / "deep", narrow), expected);
}

TEST(TreeCount, DeepTreeKeepsFewDescriptorsOpen) {
    TempDir dir;
    std::string path = dir / "deep";
    for (int i = 0; i < 200; ++i) path += "/level";
    fs::create_directories(path);
    writeFile(path + "/bottom", bytes(1));
    // With a limit of 64 descriptors a walk that held one per level would fail to go deeper.
    struct rlimit old {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &old), 0);
    int probe = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_GE(probe, 0);
    ::close(probe);
    const rlim_t limit = static_cast<rlim_t>(probe) + 40;
    struct rlimit tight = old;
    tight.rlim_cur = std::min<rlim_t>(limit, old.rlim_max);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &tight), 0);
    WalkOptions options;
    options.openLevels = 16;
    const TreeCount result = countItem(dir / "deep", options);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &old), 0);
    EXPECT_EQ(result, count(1, 201, 1));
}

TEST(TreeCount, FolderDeletedBeforeItsWalkCountsItselfOnly) {
    TempDir dir;
    writeFile(dir / "f/a", bytes(10));
    const int fd = ::open((dir / "f").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    fs::remove_all(dir / "f");
    // The folder is still reachable through the descriptor but holds nothing any more.
    const TreeCount result = countItem("/proc/self/fd/" + std::to_string(fd));
    ::close(fd);
    EXPECT_EQ(result, count(0, 1, 0));
}

TEST(TreeCount, TreeDeletedWhileCountedEnds) {
    TempDir dir;
    for (int a = 0; a < 40; ++a)
        for (int b = 0; b < 10; ++b)
            for (int c = 0; c < 5; ++c)
                writeFile(dir / ("t/" + std::to_string(a) + "/" + std::to_string(b) + "/" +
                                 std::to_string(c)),
                          bytes(2));
    const TreeCount full = countItem(dir / "t");
    ASSERT_EQ(full, count(2000, 1 + 40 + 400, 4000));

    std::promise<void> go;
    std::shared_future<void> start = go.get_future().share();
    auto counting = std::async(std::launch::async, [&] {
        start.wait();
        return countItem(dir / "t");
    });
    auto deleting = std::async(std::launch::async, [&] {
        start.wait();
        std::error_code ec;
        fs::remove_all(dir / "t", ec);
    });
    go.set_value();
    ASSERT_EQ(counting.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    ASSERT_EQ(deleting.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    const TreeCount partial = counting.get();
    EXPECT_LE(partial.files, full.files);
    EXPECT_LE(partial.folders, full.folders);
    EXPECT_LE(partial.bytes, full.bytes);
    EXPECT_GE(partial.folders, 0);
    EXPECT_FALSE(fs::exists(dir / "t"));
}

namespace {

// Counts `path` as an unprivileged user, so permissions apply even when the tests run as root:
// a child process gives up root (user and group "nobody") and reports the count through a pipe.
bool countAsUnprivileged(const std::string& path, TreeCount& out) {
    if (::geteuid() != 0) {
        out = countItem(path);
        return true;
    }
    int fds[2];
    if (::pipe(fds) != 0) return false;
    const pid_t child = ::fork();
    if (child < 0) return false;
    if (child == 0) {
        ::close(fds[0]);
        const gid_t nobodyGroup = 65534;
        if (::setgroups(0, nullptr) != 0 || ::setgid(nobodyGroup) != 0 || ::setuid(65534) != 0)
            ::_exit(2);
        const TreeCount c = countItem(path);
        const long long values[3] = {static_cast<long long>(c.files),
                                     static_cast<long long>(c.folders),
                                     static_cast<long long>(c.bytes)};
        const bool written = ::write(fds[1], values, sizeof values) == sizeof values;
        ::_exit(written ? 0 : 3);
    }
    ::close(fds[1]);
    long long values[3] = {-1, -1, -1};
    const bool read = ::read(fds[0], values, sizeof values) == sizeof values;
    ::close(fds[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    // The values arrive only after the child gave up root and counted; its exit status is not
    // used, as a sanitizer may change it at exit for reports it inherited from this process.
    if (!read) return false;
    out = count(values[0], values[1], static_cast<std::uint64_t>(values[2]));
    return true;
}

}  // namespace

TEST(TreeCount, UnreadableFolderIsCountedButItsContentsAreSkipped) {
    TempDir dir;
    writeFile(dir / "f/visible.txt", bytes(10));
    writeFile(dir / "f/locked/secret.txt", bytes(1000));
    writeFile(dir / "f/locked/deeper/more.txt", bytes(1000));
    writeFile(dir / "f/after/x", bytes(5));
    // Everyone may walk the test tree except into "locked".
    fs::permissions(dir.path(), fs::perms::owner_all | fs::perms::group_read |
                                    fs::perms::group_exec | fs::perms::others_read |
                                    fs::perms::others_exec);
    fs::permissions(dir / "f/locked", fs::perms::none);

    TreeCount result;
    ASSERT_TRUE(countAsUnprivileged(dir / "f", result));
    fs::permissions(dir / "f/locked", fs::perms::owner_all);
    EXPECT_EQ(result, count(2, 3, 15));
    // The same tree read with every permission counts the locked folder's contents too.
    EXPECT_EQ(countItem(dir / "f"), count(4, 4, 2015));
}

TEST(TreeCount, UnreadableTopFolderCountsItself) {
    TempDir dir;
    writeFile(dir / "f/a", bytes(10));
    fs::permissions(dir.path(),
                    fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
    fs::permissions(dir / "f", fs::perms::none);
    TreeCount result;
    ASSERT_TRUE(countAsUnprivileged(dir / "f", result));
    fs::permissions(dir / "f", fs::perms::owner_all);
    EXPECT_EQ(result, count(0, 1, 0));
}
