#include <gtest/gtest.h>

#include "platform/version.h"
#include "support/support.h"

namespace qvt::platform {
namespace {

std::string record(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n" + body +
           "</dict>\n</plist>\n";
}

PlatformVersion versionOf(const test::TempDir& dir, const std::string& content) {
    const std::string path = dir / "SystemVersion.plist";
    test::writeFile(path, content);
    return readPlatformVersion(path);
}

PlatformVersion productVersion(const test::TempDir& dir, const std::string& text) {
    return versionOf(dir, record("<key>ProductVersion</key><string>" + text + "</string>\n"));
}

TEST(PlatformVersion, ShippedRecordIs10_10) {
    EXPECT_EQ(versionRecordPath(), ":/qvtransfer/system/SystemVersion.plist");
    const PlatformVersion v = readPlatformVersion();
    EXPECT_EQ(v.major, 10);
    EXPECT_EQ(v.minor, 10);
}

TEST(PlatformVersion, ComponentsOfProductVersion) {
    test::TempDir dir;
    auto v = productVersion(dir, "10.10");
    EXPECT_EQ(v.major, 10);
    EXPECT_EQ(v.minor, 10);
    v = productVersion(dir, "10.9.5");
    EXPECT_EQ(v.major, 10);
    EXPECT_EQ(v.minor, 9);
    v = productVersion(dir, "10.12");
    EXPECT_EQ(v.major, 10);
    EXPECT_EQ(v.minor, 12);
    v = productVersion(dir, "11");
    EXPECT_EQ(v.major, 11);
    EXPECT_EQ(v.minor, 0);
    v = productVersion(dir, "abc");
    EXPECT_EQ(v.major, 0);
    EXPECT_EQ(v.minor, 0);
    v = productVersion(dir, "10.x");
    EXPECT_EQ(v.major, 10);
    EXPECT_EQ(v.minor, 0);
    v = productVersion(dir, "");
    EXPECT_EQ(v.major, 0);
    EXPECT_EQ(v.minor, 0);
    v = productVersion(dir, "99999999999999999999999.3");
    EXPECT_EQ(v.major, std::numeric_limits<long>::max());
    EXPECT_EQ(v.minor, 3);
}

TEST(PlatformVersion, MissingOrWrongRecordsGiveZero) {
    test::TempDir dir;
    auto v = readPlatformVersion(dir / "none.plist");
    EXPECT_EQ(v.major, 0);
    EXPECT_EQ(v.minor, 0);
    v = versionOf(dir, record("<key>ProductName</key><string>X</string>\n"));
    EXPECT_EQ(v.major, 0);
    EXPECT_EQ(v.minor, 0);
    v = versionOf(dir, record("<key>ProductVersion</key><integer>10</integer>\n"));
    EXPECT_EQ(v.major, 0);
    EXPECT_EQ(v.minor, 0);
    v = versionOf(dir, "<plist><dict><key>ProductVersion</key><string>10.10");
    EXPECT_EQ(v.major, 0);
    EXPECT_EQ(v.minor, 0);
    v = versionOf(dir, "<plist version=\"1.0\"><array><string>10.10</string></array></plist>");
    EXPECT_EQ(v.major, 0);
    EXPECT_EQ(v.minor, 0);
}

TEST(PlatformVersion, RecordPathIsASetting) {
    test::TempDir dir;
    const std::string path = dir / "v.plist";
    test::writeFile(path, record("<key>ProductVersion</key><string>10.8.2</string>\n"));
    setVersionRecordPath(path);
    EXPECT_EQ(versionRecordPath(), path);
    auto v = readPlatformVersion();
    EXPECT_EQ(v.major, 10);
    EXPECT_EQ(v.minor, 8);
    setVersionRecordPath(dir / "missing.plist");
    v = readPlatformVersion();
    EXPECT_EQ(v.major, 0);
    EXPECT_EQ(v.minor, 0);
    setVersionRecordPath("");
    EXPECT_EQ(versionRecordPath(), ":/qvtransfer/system/SystemVersion.plist");
    EXPECT_EQ(readPlatformVersion().minor, 10);
}

}  // namespace
}  // namespace qvt::platform
