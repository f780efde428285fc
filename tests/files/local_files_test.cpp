// The file layer on local paths: items, copies, errors and volume facts.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "../mount/mount_test_support.h"
#include "platform/files.h"
#include "platform/smb_url.h"
#include "support.h"

namespace qvt::mounttest {
namespace {

using platform::files;

class LocalFilesTest : public ::testing::Test {
  protected:
    std::string path(const std::string& name) const { return box.root() + "/" + name; }
    MountSandbox box;
};

TEST_F(LocalFilesTest, RenameGivesANewNameButNeverReplacesOne) {
    test::writeFile(path("partial"), "new");
    test::writeFile(path("taken"), "old");
    EXPECT_EQ(files().renameItem(path("partial"), path("taken")), EEXIST);
    EXPECT_EQ(test::readFile(path("taken")), "old");
    EXPECT_EQ(files().renameItem(path("partial"), path("free")), 0);
    EXPECT_EQ(test::readFile(path("free")), "new");
    EXPECT_FALSE(std::filesystem::exists(path("partial")));
    EXPECT_EQ(files().renameItem(path("gone"), path("other")), ENOENT);
}

// A stamp changes with a write, even one that keeps the length, and with a file put in the
// place of the old one; it stays while nobody touches the file and follows a link.
TEST_F(LocalFilesTest, AStampTellsAWriteOrAReplacementWithoutReadingTheFile) {
    test::writeFile(path("a.txt"), "first");
    const auto first = files().stamp(path("a.txt"));
    ASSERT_TRUE(first.has_value());
    EXPECT_EQ(first->size, 5u);
    EXPECT_EQ(files().stamp(path("a.txt")), first);

    // Same length, later time: set explicitly, as a write within one clock tick keeps it.
    test::writeFile(path("a.txt"), "again");
    const timespec later[2] = {{first->modifiedSeconds + 5, 0}, {first->modifiedSeconds + 5, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path("a.txt").c_str(), later, 0), 0);
    const auto rewritten = files().stamp(path("a.txt"));
    ASSERT_TRUE(rewritten.has_value());
    EXPECT_EQ(rewritten->identity, first->identity);
    EXPECT_EQ(rewritten->size, 5u);
    EXPECT_NE(rewritten, first);

    // Another file under the same name, with the same length and time.
    test::writeFile(path("b.txt"), "other");
    const timespec same[2] = {{rewritten->modifiedSeconds, rewritten->modifiedNanoseconds},
                              {rewritten->modifiedSeconds, rewritten->modifiedNanoseconds}};
    ASSERT_EQ(utimensat(AT_FDCWD, path("b.txt").c_str(), same, 0), 0);
    ASSERT_EQ(::rename(path("b.txt").c_str(), path("a.txt").c_str()), 0);
    const auto replaced = files().stamp(path("a.txt"));
    ASSERT_TRUE(replaced.has_value());
    EXPECT_NE(replaced->identity, rewritten->identity);
    EXPECT_NE(replaced, rewritten);

    ASSERT_EQ(symlink(path("a.txt").c_str(), path("link").c_str()), 0);
    EXPECT_EQ(files().stamp(path("link")), replaced);
    EXPECT_FALSE(files().stamp(path("gone")).has_value());
    EXPECT_FALSE(files().stamp("").has_value());
}

TEST_F(LocalFilesTest, ExistenceAndFolderTestsFollowLinks) {
    writeAll(path("file"), "x");
    std::filesystem::create_directories(path("dir"));
    std::filesystem::create_symlink(path("dir"), path("dirlink"));
    std::filesystem::create_symlink(path("nothing"), path("broken"));
    bool folder = true;
    EXPECT_TRUE(files().exists(path("file"), &folder));
    EXPECT_FALSE(folder);
    EXPECT_TRUE(files().exists(path("dirlink"), &folder));
    EXPECT_TRUE(folder);
    EXPECT_TRUE(files().isFolder(path("dir")));
    EXPECT_FALSE(files().exists(path("broken")));
    EXPECT_FALSE(files().exists(""));
    EXPECT_TRUE(files().isAlias(path("dirlink")));
    EXPECT_TRUE(files().isAlias(path("broken")));
    EXPECT_FALSE(files().isAlias(path("file")));
    EXPECT_FALSE(files().isAlias(path("missing")));
}

TEST_F(LocalFilesTest, FlushingAVolumeWantsAPathThatIsThere) {
    ASSERT_EQ(files().createFolder(path("Drive/Inbox"), true), 0);
    EXPECT_EQ(files().flushVolume(path("Drive/Inbox")), 0);
    EXPECT_EQ(files().flushVolume(path("Drive/Gone")), ENOENT);
    EXPECT_EQ(files().flushVolume(""), ENOENT);
}

TEST_F(LocalFilesTest, ListingIncludesHiddenEntries) {
    std::filesystem::create_directories(path("d/sub"));
    writeAll(path("d/.hidden"), "");
    writeAll(path("d/shown"), "");
    auto names = files().listFolder(path("d"));
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{".hidden", "shown", "sub"}));
    int error = 0;
    EXPECT_TRUE(files().listFolder(path("none"), &error).empty());
    EXPECT_EQ(error, ENOENT);
}

TEST_F(LocalFilesTest, FoldersWithAndWithoutParents) {
    EXPECT_EQ(files().createFolder(path("a/b/c"), false), ENOENT);
    EXPECT_EQ(files().createFolder(path("a/b/c"), true), 0);
    EXPECT_TRUE(files().isFolder(path("a/b/c")));
    EXPECT_EQ(files().createFolder(path("a/b/c"), true), 0);
    EXPECT_EQ(files().createFolder(path("a/b/c"), false), EEXIST);
    writeAll(path("plain"), "");
    EXPECT_EQ(files().createFolder(path("plain/x"), true), ENOTDIR);
}

TEST_F(LocalFilesTest, OnlyARegularFileIsEverReadAndNothingWaits) {
    // Nothing writes to the FIFO: opening it for reading in the usual way would wait for ever.
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0644), 0);
    EXPECT_EQ(files().copyItem(path("pipe"), path("pipe copy")), platform::kNotARegularFile);
    EXPECT_EQ(files().copyItem("/dev/null", path("null copy")), platform::kNotARegularFile);
    EXPECT_FALSE(std::filesystem::exists(path("pipe copy")));
    EXPECT_FALSE(std::filesystem::exists(path("null copy")));
    EXPECT_EQ(platform::errorDescription(platform::kNotARegularFile), "Not a regular file");
}

// A gate that says no ends a copy between two pieces, with ECANCELED and the file short; a
// thread without a gate copies whole.
TEST_F(LocalFilesTest, ACopyEndsBetweenTwoPiecesWhenItsGateSaysSo) {
    const std::size_t size = 100u << 20;
    writeAll(path("big.bin"), std::string(size, 'b'));
    std::uint64_t told = 0;
    {
        const platform::CopyGate gate([&](std::uint64_t written) {
            told = written;
            return false;
        });
        EXPECT_EQ(files().copyItem(path("big.bin"), path("stopped.bin")), ECANCELED);
    }
    EXPECT_LT(std::filesystem::file_size(path("stopped.bin")), size);
    EXPECT_GT(told, 0u);
    EXPECT_EQ(told, std::filesystem::file_size(path("stopped.bin")))
        << "the gate is told what the file holds";
    EXPECT_EQ(files().copyItem(path("big.bin"), path("whole.bin")), 0);
    EXPECT_EQ(std::filesystem::file_size(path("whole.bin")), size);
}

TEST_F(LocalFilesTest, CopyMoveRemoveAndSizes) {
    std::string data(3 * 1024 * 1024 + 17, '\0');
    for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>(i * 131 % 251);
    writeAll(path("src.bin"), data);
    chmod(path("src.bin").c_str(), 0640);
    ASSERT_EQ(files().copyItem(path("src.bin"), path("dst.bin")), 0);
    EXPECT_EQ(readAll(path("dst.bin")), data);
    struct stat st {};
    stat(path("dst.bin").c_str(), &st);
    EXPECT_EQ(st.st_mode & 0777, 0640u);
    EXPECT_EQ(files().copyItem(path("src.bin"), path("dst.bin")), EEXIST);
    EXPECT_EQ(files().copyItem(path("missing"), path("x")), ENOENT);
    EXPECT_EQ(files().size(path("dst.bin")), data.size());
    EXPECT_EQ(files().totalSize(path("dst.bin")), data.size());
    EXPECT_FALSE(files().totalSize(box.root()).has_value());
    EXPECT_FALSE(files().size(path("missing")).has_value());

    // A folder is copied with everything in it.
    std::filesystem::create_directories(path("tree/in"));
    writeAll(path("tree/in/f"), "f");
    ASSERT_EQ(files().copyItem(path("tree"), path("tree2")), 0);
    EXPECT_EQ(readAll(path("tree2/in/f")), "f");
    EXPECT_EQ(files().copyItem(path("tree"), path("tree2")), EEXIST);

    // Whatever is at the destination stays as it is, a link that leads nowhere too.
    ASSERT_EQ(symlink(path("nowhere").c_str(), path("dangling").c_str()), 0);
    EXPECT_EQ(files().copyItem(path("tree/in/f"), path("dangling")), EEXIST);
    EXPECT_EQ(files().copyItem(path("tree"), path("dangling")), EEXIST);
    EXPECT_FALSE(std::filesystem::exists(path("nowhere")));
    EXPECT_EQ(readAll(path("dst.bin")), data);

    ASSERT_EQ(files().moveItem(path("dst.bin"), path("moved.bin")), 0);
    EXPECT_FALSE(files().exists(path("dst.bin")));
    EXPECT_EQ(files().moveItem(path("src.bin"), path("moved.bin")), EEXIST);
    EXPECT_TRUE(files().exists(path("src.bin")));

    ASSERT_EQ(files().removeItem(path("tree2")), 0);
    EXPECT_FALSE(files().exists(path("tree2")));
    EXPECT_EQ(files().removeItem(path("tree2")), ENOENT);
}

// The size of the file this thread wrote last is told from what the copy knew, without a walk
// of its path, until the thread sets out to write another file (a refused one too); the
// knowledge follows the file's rename, by this program or as the last step of a move, and ends
// with its removal.
TEST_F(LocalFilesTest, TheSizeOfTheFileJustWrittenIsKnownWithoutAskingUntilTheNext) {
    writeAll(path("s.txt"), "small");
    ASSERT_EQ(files().copyItem(path("s.txt"), path(".part")), 0);
    writeAll(path(".part"), "grown behind the copy");
    EXPECT_EQ(files().totalSize(path(".part")), 5u);
    // size() always asks: the progress follows a file that grows.
    EXPECT_EQ(files().size(path(".part")), 21u);
    ASSERT_EQ(files().renameItem(path(".part"), path("r.txt")), 0);
    EXPECT_FALSE(files().totalSize(path(".part")).has_value());
    EXPECT_EQ(files().totalSize(path("r.txt")), 5u);
    ASSERT_EQ(files().removeItem(path("r.txt")), 0);
    EXPECT_FALSE(files().totalSize(path("r.txt")).has_value());

    ASSERT_EQ(files().copyItem(path("s.txt"), path("t.txt")), 0);
    writeAll(path("t.txt"), "grown behind the copy");
    EXPECT_EQ(files().copyItem(path("s.txt"), path("t.txt")), EEXIST);
    EXPECT_EQ(files().totalSize(path("t.txt")), 21u);

    // A folder renamed with the file in it takes the knowledge along.
    std::filesystem::create_directories(path("in"));
    ASSERT_EQ(files().copyItem(path("s.txt"), path("in/u.txt")), 0);
    writeAll(path("in/u.txt"), "grown behind the copy");
    ASSERT_EQ(files().renameItem(path("in"), path("out")), 0);
    EXPECT_EQ(files().totalSize(path("out/u.txt")), 5u);
    ASSERT_EQ(files().removeItem(path("out")), 0);
    EXPECT_FALSE(files().totalSize(path("out/u.txt")).has_value());
}

// The file a copy read is known too, at the size its open descriptor told when the copy ended,
// for the one question right after the copy; it follows a rename. A later question, and any
// after a removal, asks the file.
TEST_F(LocalFilesTest, TheSourceJustCopiedIsKnownOnceAtTheSizeItsCopyEndedWith) {
    writeAll(path("s.txt"), "small");
    ASSERT_EQ(files().copyItem(path("s.txt"), path(".part")), 0);
    writeAll(path("s.txt"), "grown behind the copy");
    EXPECT_EQ(files().totalSize(path("s.txt")), 5u);
    EXPECT_EQ(files().totalSize(path("s.txt")), 21u);

    ASSERT_EQ(files().copyItem(path("s.txt"), path(".again")), 0);
    writeAll(path("s.txt"), "x");
    ASSERT_EQ(files().renameItem(path("s.txt"), path("moved.txt")), 0);
    EXPECT_FALSE(files().totalSize(path("s.txt")).has_value());
    EXPECT_EQ(files().totalSize(path("moved.txt")), 21u);
    EXPECT_EQ(files().totalSize(path("moved.txt")), 1u);

    ASSERT_EQ(files().copyItem(path("moved.txt"), path(".third")), 0);
    ASSERT_EQ(files().removeItem(path("moved.txt")), 0);
    EXPECT_FALSE(files().totalSize(path("moved.txt")).has_value());
}

// What was found at a path a moment before its copy only chooses between a file and a folder:
// the copy looks at what it opened, so an item replaced in between is copied as it is now, or
// refused, and never waited on.
TEST_F(LocalFilesTest, AnItemReplacedBetweenItsLookAndItsCopyIsTakenAsItIsNow) {
    writeAll(path("a.txt"), "first");
    ASSERT_TRUE(files().exists(path("a.txt")));
    writeAll(path("a.txt"), "replaced by a longer text");
    ASSERT_EQ(files().copyItem(path("a.txt"), path("a copy.txt")), 0);
    EXPECT_EQ(test::readFile(path("a copy.txt")), "replaced by a longer text");

    writeAll(path("p"), "a file");
    ASSERT_TRUE(files().exists(path("p")));
    std::filesystem::remove(path("p"));
    ASSERT_EQ(mkfifo(path("p").c_str(), 0644), 0);
    EXPECT_EQ(files().copyItem(path("p"), path("p copy")), platform::kNotARegularFile);
    EXPECT_FALSE(std::filesystem::exists(path("p copy")));

    writeAll(path("d"), "a file");
    ASSERT_TRUE(files().exists(path("d")));
    std::filesystem::remove(path("d"));
    std::filesystem::create_directories(path("d"));
    EXPECT_NE(files().copyItem(path("d"), path("d copy")), 0);
    EXPECT_FALSE(std::filesystem::exists(path("d copy")));

    // Taken once: the next copy of the path looks again.
    writeAll(path("f"), "a file");
    ASSERT_TRUE(files().exists(path("f")));
    ASSERT_EQ(files().copyItem(path("f"), path("f copy")), 0);
    std::filesystem::remove(path("f"));
    std::filesystem::create_directories(path("f/inner"));
    ASSERT_EQ(files().copyItem(path("f"), path("f folder")), 0);
    EXPECT_TRUE(std::filesystem::is_directory(path("f folder/inner")));
}

TEST_F(LocalFilesTest, MoveAcrossVolumesCopiesThenRemoves) {
    ASSERT_TRUE(box.mountTmpfs(path("other"), 8 << 20));
    writeAll(path("m.txt"), "across");
    ASSERT_EQ(files().moveItem(path("m.txt"), path("other/m.txt")), 0);
    EXPECT_EQ(readAll(path("other/m.txt")), "across");
    EXPECT_FALSE(files().exists(path("m.txt")));
}

// Watches the flush a move across volumes makes, and can make it fail.
class FlushWatchingFiles : public platform::FileLayer {
  public:
    int flushItem(const std::string& path) override {
        flushed.push_back(path);
        sourceThereAtFlush = sourceThereAtFlush && std::filesystem::exists(source);
        return failWith ? failWith : FileLayer::flushItem(path);
    }
    std::string source;
    bool sourceThereAtFlush = true;
    int failWith = 0;
    std::vector<std::string> flushed;
};

TEST_F(LocalFilesTest, MoveAcrossVolumesFlushesTheCopyBeforeTheSourceGoes) {
    ASSERT_TRUE(box.mountTmpfs(path("other"), 8 << 20));
    std::filesystem::create_directories(path("tree/sub"));
    writeAll(path("tree/sub/a.txt"), "a");
    writeAll(path("tree/b.txt"), "b");
    FlushWatchingFiles layer;
    layer.source = path("tree");
    ASSERT_EQ(layer.moveItem(path("tree"), path("other/tree")), 0);
    EXPECT_EQ(layer.flushed, (std::vector<std::string>{path("other/tree")}));
    EXPECT_TRUE(layer.sourceThereAtFlush);
    EXPECT_FALSE(std::filesystem::exists(path("tree")));
    EXPECT_EQ(readAll(path("other/tree/sub/a.txt")), "a");
}

TEST_F(LocalFilesTest, MoveAcrossVolumesKeepsTheSourceWhenTheCopyCannotBeFlushed) {
    ASSERT_TRUE(box.mountTmpfs(path("other"), 8 << 20));
    writeAll(path("m.txt"), "keep me");
    FlushWatchingFiles layer;
    layer.source = path("m.txt");
    layer.failWith = EIO;
    EXPECT_EQ(layer.moveItem(path("m.txt"), path("other/m.txt")), EIO);
    EXPECT_EQ(readAll(path("m.txt")), "keep me");
}

TEST_F(LocalFilesTest, MoveInsideOneVolumeIsARenameWithoutFlush) {
    writeAll(path("r.txt"), "r");
    FlushWatchingFiles layer;
    ASSERT_EQ(layer.moveItem(path("r.txt"), path("r2.txt")), 0);
    EXPECT_TRUE(layer.flushed.empty());
    EXPECT_EQ(readAll(path("r2.txt")), "r");
}

TEST_F(LocalFilesTest, FlushingAnItemWantsAnItemThatIsThere) {
    std::filesystem::create_directories(path("f/sub"));
    writeAll(path("f/sub/x"), "x");
    std::filesystem::create_symlink(path("nowhere"), path("f/link"));
    EXPECT_EQ(files().flushItem(path("f")), 0);
    EXPECT_EQ(files().flushItem(path("f/sub/x")), 0);
    EXPECT_EQ(files().flushItem(path("f/link")), 0);
    EXPECT_EQ(files().flushItem(path("f/none")), ENOENT);
    EXPECT_EQ(files().flushItem(""), ENOENT);
}

TEST_F(LocalFilesTest, FullVolumeReportsOutOfSpace) {
    ASSERT_TRUE(box.mountTmpfs(path("small"), 1 << 20));
    writeAll(path("big.bin"), std::string(2 << 20, 'b'));
    const int rc = files().copyItem(path("big.bin"), path("small/big.bin"));
    EXPECT_EQ(rc, ENOSPC);
    EXPECT_EQ(platform::platformErrorCode(rc), platform::kOutOfSpaceWriteError);
    const auto facts = files().volumeFacts(path("small"));
    ASSERT_TRUE(facts.availableCapacity.has_value());
    EXPECT_EQ(*facts.availableCapacity, 0u);
}

TEST_F(LocalFilesTest, RemovalNeverReachesIntoAMountedVolume) {
    ASSERT_TRUE(box.mountTmpfs(path("outer/vol"), 1 << 20));
    writeAll(path("outer/vol/precious"), "keep");
    writeAll(path("outer/loose"), "go");
    EXPECT_EQ(files().removeItem(path("outer/vol")), EBUSY);
    EXPECT_NE(files().removeItem(path("outer")), 0);
    EXPECT_EQ(readAll(path("outer/vol/precious")), "keep");
    EXPECT_FALSE(files().exists(path("outer/loose")));
}

TEST_F(LocalFilesTest, VolumeFactsOfATmpfsComeAndGo) {
    ASSERT_TRUE(box.mountTmpfs(path("t"), 4 << 20));
    const auto facts = files().volumeFacts(path("t"));
    EXPECT_EQ(facts.remountURL, "tmpfs://tmpfs");
    EXPECT_TRUE(facts.uuid.empty());
    ASSERT_TRUE(facts.availableCapacity.has_value());
    EXPECT_EQ(*facts.availableCapacity, 4u << 20);
    std::filesystem::create_directories(path("t/inside"));
    EXPECT_EQ(files().volumeFacts(path("t/inside")).remountURL, "tmpfs://tmpfs");
    ASSERT_EQ(files().forceUnmount(path("t")), 0);
    EXPECT_TRUE(files().volumeFacts(path("t/inside")).remountURL.empty());
    EXPECT_EQ(files().forceUnmount(path("t")), EINVAL);
}

TEST(FileErrors, MapToTheProductsCodes) {
    using platform::platformErrorCode;
    EXPECT_EQ(platformErrorCode(ENOSPC), 640);
    EXPECT_EQ(platformErrorCode(EDQUOT), 640);
    for (int e : {EIO, ENOTCONN, ETIMEDOUT, ECONNRESET, EHOSTDOWN, EHOSTUNREACH, ESTALE})
        EXPECT_EQ(platformErrorCode(e), 512) << e;
    EXPECT_EQ(platformErrorCode(EACCES), EACCES);
    EXPECT_EQ(platformErrorCode(ENOENT), ENOENT);
    EXPECT_FALSE(platform::errorDescription(EACCES).empty());
    EXPECT_NE(platform::errorDescription(EACCES), platform::errorDescription(ENOENT));
    EXPECT_EQ(platform::errorDescription(640), platform::errorDescription(ENOSPC));
}

TEST(ShareUrls, EscapesAndParts) {
    EXPECT_EQ(platform::addPercentEscapes("afp://;AUTH=No User Authent@1.2.3.4/My Share"),
              "afp://;AUTH=No%20User%20Authent@1.2.3.4/My%20Share");
    EXPECT_EQ(platform::addPercentEscapes("a%b\xc3\xa9"), "a%25b%C3%A9");
    EXPECT_EQ(platform::removePercentEscapes("My%20Share%zz%4"), "My Share%zz%4");
    const auto u = platform::parseShareUrl("afp://;AUTH=No%20User%20Authent@10.0.0.5:8080/A%20B");
    ASSERT_TRUE(u.valid);
    EXPECT_EQ(u.scheme, "afp");
    EXPECT_EQ(u.authMechanism, "No User Authent");
    EXPECT_EQ(u.authority, "10.0.0.5:8080");
    EXPECT_EQ(u.host, "10.0.0.5");
    EXPECT_EQ(u.share, "A B");
    EXPECT_FALSE(platform::parseShareUrl("smb://h/a/b").valid);
    EXPECT_FALSE(platform::parseShareUrl("smb://h/..").valid);
    EXPECT_FALSE(platform::parseShareUrl("smb://h/a%2Fb").valid);
    EXPECT_FALSE(platform::parseShareUrl("http://h/a").valid);
}

}  // namespace
}  // namespace qvt::mounttest
