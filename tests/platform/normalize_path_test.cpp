#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/mounts_table.h"

namespace qvt::platform {
namespace {

// A path already in its normal form comes back as it is; any other gets its empty, "." and
// ".." components and its trailing slashes taken away.
TEST(NormalizePath, GivesEachPathItsOneNormalForm) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", ""},
        {"/", "/"},
        {"/a/b", "/a/b"},
        {"a/b", "a/b"},
        {"/a/b/", "/a/b"},
        {"/a//b", "/a/b"},
        {"/a/./b", "/a/b"},
        {"/a/b/.", "/a/b"},
        {"/a/../b", "/b"},
        {"/a/b/..", "/a"},
        {"./a", "a"},
        {"/..", "/"},
        {"/a/.../b", "/a/.../b"},
        {"/a/b./.c", "/a/b./.c"},
        {"/a/..b/c..", "/a/..b/c.."},
        {"/.hidden/x", "/.hidden/x"},
    };
    for (const auto& [path, normal] : cases) EXPECT_EQ(normalizePath(path), normal) << path;
}

// A share mounted at a folder is found for a path under it however the path is written.
TEST(NormalizePath, ASharePathIsFoundWrittenAnyWay) {
    MountTable table;
    ShareMount mount;
    mount.mountPoint = "/home/u/.QVTransfer/Photos";
    ASSERT_TRUE(table.add(mount));
    for (const std::string path :
         {"/home/u/.QVTransfer/Photos/a/b.jpg", "/home/u/.QVTransfer//Photos/a/./b.jpg",
          "/home/u/.QVTransfer/Photos/x/../a/b.jpg"}) {
        const auto found = table.resolve(path);
        ASSERT_TRUE(found) << path;
        EXPECT_EQ(found->relative, "a/b.jpg") << path;
    }
    EXPECT_FALSE(table.resolve("/home/u/.QVTransfer/Photos2/a"));
    EXPECT_FALSE(table.resolve("/home/u/.QVTransfer/Photos/../Other/a"));
}

}  // namespace
}  // namespace qvt::platform
