#include <gtest/gtest.h>

#include <QStandardPaths>
#include <cstdlib>

#include "platform/paths.h"
#include "support/support.h"

namespace qvt::platform {
namespace {

TEST(UserFolders, CurrentUsersFolders) {
    const UserFolders f = UserFolders::current();
    const char* home = std::getenv("HOME");
    ASSERT_NE(home, nullptr);
    std::string expected = home;
    while (expected.size() > 1 && expected.back() == '/') expected.pop_back();
    EXPECT_EQ(f.home, expected);
    EXPECT_EQ(f.applicationSupport,
              QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation).toStdString());
    EXPECT_FALSE(f.applicationSupport.empty());
    EXPECT_EQ(f.transferDataFolder(), f.applicationSupport + "/QVTransfer");
    EXPECT_EQ(f.mountFolder(), f.home + "/.QVTransfer");
}

TEST(UserFolders, FolderHelpers) {
    test::TempDir dir;
    const std::string deep = dir / "a/b/c";
    EXPECT_FALSE(folderExists(deep));
    EXPECT_TRUE(createFolderWithParents(deep));
    EXPECT_TRUE(folderExists(deep));
    EXPECT_TRUE(fileExists(deep));
    EXPECT_TRUE(createFolderWithParents(deep));  // already there
    test::writeFile(dir / "file", "x");
    EXPECT_TRUE(fileExists(dir / "file"));
    EXPECT_FALSE(folderExists(dir / "file"));
    EXPECT_FALSE(createFolderWithParents(dir / "file/sub"));
    EXPECT_FALSE(fileExists(dir / "nothing"));
    EXPECT_FALSE(createFolderWithParents(""));
    EXPECT_FALSE(fileExists(""));
}

// A component that is "." or ".." anywhere, first, last or alone, is found; names that only
// hold dots among other characters, or three dots, are names.
TEST(PathComponents, ADotOrTwoDotsAsAComponentIsFoundAnywhere) {
    for (const char* path : {".", "..", "/.", "/..", "./a", "../a", "/a/./b", "/a/../b", "/a/b/.",
                             "/a/b/..", "a/..", "/a//../b"})
        EXPECT_TRUE(hasDotComponent(path)) << path;
    for (const char* path :
         {"", "/", "/a/b", "a", "/a/.../b", "/.hidden/x", "/a/..b/c..", "/a/b./.c", "//a", "/a/"})
        EXPECT_FALSE(hasDotComponent(path)) << path;
}

}  // namespace
}  // namespace qvt::platform
