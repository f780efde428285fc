#include <dirent.h>
#include <gtest/gtest.h>
#include <plist/plist.h>
#include <sys/stat.h>

#include <cstdlib>
#include <limits>
#include <thread>

#include "platform/plist_io.h"
#include "support/support.h"

namespace qvt::platform {
namespace {

std::vector<std::string> folderEntries(const std::string& folder) {
    std::vector<std::string> names;
    DIR* dir = opendir(folder.c_str());
    if (!dir) return names;
    while (const dirent* e = readdir(dir)) {
        const std::string n = e->d_name;
        if (n != "." && n != "..") names.push_back(n);
    }
    closedir(dir);
    std::sort(names.begin(), names.end());
    return names;
}

Date at(std::int64_t unixSeconds) {
    return Date{} + std::chrono::seconds(unixSeconds);
}

Record everyType() {
    Record inner{{"zulu", "last first"}, {"alpha", List{1, "two", Record{{"k", false}}}}};
    return Record{
        {"string", "Hëllo <&> \"world\""},
        {"int", 42},
        {"negative", -5},
        {"min", std::numeric_limits<long long>::min()},
        {"bigUnsigned", 9223372036854775813ull},
        {"maxUnsigned", std::numeric_limits<unsigned long long>::max()},
        {"real", 0.1},
        {"yes", true},
        {"no", false},
        {"date", at(1400000000)},
        {"data", Data{0, 1, 2, 255, 128}},
        {"emptyList", List{}},
        {"emptyRecord", Record{}},
        {"nested", inner},
    };
}

void expectSameAsEveryType(const Value& v) {
    ASSERT_TRUE(v.asRecord());
    const Record& r = *v.asRecord();
    EXPECT_EQ(r.keys(), everyType().keys());
    EXPECT_TRUE(v == Value(everyType())) << v.describe();
    ASSERT_TRUE(r.find("bigUnsigned"));
    EXPECT_TRUE(r.find("bigUnsigned")->isUnsigned());
    EXPECT_EQ(r.find("bigUnsigned")->toUInt64(), 9223372036854775813ull);
    EXPECT_EQ(r.find("maxUnsigned")->toUInt64(), std::numeric_limits<std::uint64_t>::max());
    EXPECT_FALSE(r.find("negative")->isUnsigned());
    EXPECT_EQ(r.find("negative")->toInt64(), -5);
    EXPECT_EQ(r.find("min")->toInt64(), std::numeric_limits<std::int64_t>::min());
    EXPECT_TRUE(r.find("real")->isReal());
    EXPECT_EQ(r.find("real")->toDouble(), 0.1);
    EXPECT_TRUE(r.find("yes")->isBool());
    EXPECT_TRUE(r.find("date")->isDate());
    EXPECT_EQ(r.record("nested")->keys(), (std::vector<std::string>{"zulu", "alpha"}));
}

TEST(PropertyList, XmlRoundTripKeepsEveryTypeAndKeyOrder) {
    const std::string xml = toXmlPropertyList(everyType());
    EXPECT_NE(xml.find("<plist"), std::string::npos);
    EXPECT_NE(xml.find("<key>bigUnsigned</key>"), std::string::npos);
    EXPECT_NE(xml.find("9223372036854775813"), std::string::npos);
    const auto back = parsePropertyList(xml);
    ASSERT_TRUE(back);
    expectSameAsEveryType(*back);
}

TEST(PropertyList, FileRoundTrip) {
    test::TempDir dir;
    const std::string path = dir / "state.plist";
    ASSERT_TRUE(writePropertyList(path, everyType()));
    const auto back = readPropertyList(path);
    ASSERT_TRUE(back);
    expectSameAsEveryType(*back);
    EXPECT_EQ(folderEntries(dir.path()), (std::vector<std::string>{"state.plist"}));
    struct stat st {};
    ASSERT_EQ(stat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0644u);
}

TEST(PropertyList, RootsOtherThanRecords) {
    const auto list = parsePropertyList(toXmlPropertyList(List{"/a", "/b"}));
    ASSERT_TRUE(list && list->asList());
    EXPECT_TRUE(*list == Value(List{"/a", "/b"}));
    const auto text = parsePropertyList(toXmlPropertyList("only"));
    ASSERT_TRUE(text);
    EXPECT_EQ(text->toString(), "only");
}

TEST(PropertyList, NullsAreLeftOut) {
    Record r{{"a", Value()}, {"b", 1}};
    r.set("c", List{Value(), 2});
    const auto back = parsePropertyList(toXmlPropertyList(r));
    ASSERT_TRUE(back && back->asRecord());
    EXPECT_EQ(back->asRecord()->keys(), (std::vector<std::string>{"b", "c"}));
    EXPECT_TRUE(*back->asRecord()->find("c") == Value(List{2}));
    EXPECT_EQ(toXmlPropertyList(Value()), "");
    test::TempDir dir;
    EXPECT_FALSE(writePropertyList(dir / "x.plist", Value()));
}

TEST(PropertyList, ReadsHandWrittenXmlInFileOrder) {
    test::TempDir dir;
    const std::string path = dir / "hand.plist";
    test::writeFile(path,
                    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                    "<plist version=\"1.0\">\n<dict>\n"
                    "  <key>serial-2</key><dict><key>z</key><true/><key>a</key><false/></dict>\n"
                    "  <key>serial-1</key><array><string>x</string><integer>-3</integer></array>\n"
                    "  <key>when</key><date>2014-05-13T16:53:20Z</date>\n"
                    "  <key>bytes</key><data>AAEC/w==</data>\n"
                    "  <key>pi</key><real>3.5</real>\n"
                    "</dict>\n</plist>\n");
    const auto v = readPropertyList(path);
    ASSERT_TRUE(v && v->asRecord());
    const Record& r = *v->asRecord();
    EXPECT_EQ(r.keys(), (std::vector<std::string>{"serial-2", "serial-1", "when", "bytes", "pi"}));
    EXPECT_EQ(r.record("serial-2")->keys(), (std::vector<std::string>{"z", "a"}));
    EXPECT_TRUE(*r.find("serial-1") == Value(List{"x", -3}));
    EXPECT_TRUE(*r.find("when") == Value(at(1400000000)));
    EXPECT_TRUE(*r.find("bytes") == Value(Data{0, 1, 2, 255}));
    EXPECT_EQ(r.find("pi")->toDouble(), 3.5);
}

TEST(PropertyList, ReadsBinaryFiles) {
    // A binary list made by libplist itself, with keys out of alphabetical order, an unsigned
    // value above the signed range and a date with a fraction of a second.
    const std::string xml =
        "<plist version=\"1.0\"><dict>"
        "<key>zeta</key><integer>18446744073709551000</integer>"
        "<key>alpha</key><integer>-12</integer>"
        "<key>mid</key><array><string>s</string><real>0.25</real><true/></array>"
        "</dict></plist>";
    plist_t root = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &root);
    ASSERT_NE(root, nullptr);
    plist_dict_set_item(root, "when", plist_new_date(422000000, 500000));
    char* bin = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &bin, &length);
    plist_free(root);
    ASSERT_NE(bin, nullptr);
    const std::string bytes(bin, length);
    plist_to_bin_free(bin);
    ASSERT_EQ(bytes.substr(0, 8), "bplist00");

    test::TempDir dir;
    test::writeFile(dir / "bin.plist", bytes);
    const auto v = readPropertyList(dir / "bin.plist");
    ASSERT_TRUE(v && v->asRecord());
    const Record& r = *v->asRecord();
    EXPECT_EQ(r.keys(), (std::vector<std::string>{"zeta", "alpha", "mid", "when"}));
    EXPECT_TRUE(r.find("zeta")->isUnsigned());
    EXPECT_EQ(r.find("zeta")->toUInt64(), 18446744073709551000ull);
    EXPECT_EQ(r.integer("alpha"), -12);
    EXPECT_TRUE(*r.find("mid") == Value(List{"s", 0.25, true}));
    // 2001-01-01 plus 422000000.5 seconds.
    EXPECT_TRUE(*r.find("when") ==
                Value(at(978307200 + 422000000) + std::chrono::milliseconds(500)));
}

TEST(PropertyList, BrokenFilesGiveNothing) {
    test::TempDir dir;
    EXPECT_FALSE(readPropertyList(dir / "missing.plist"));
    EXPECT_FALSE(readPropertyList(dir.path()));  // a folder
    EXPECT_FALSE(readPropertyList(""));
    test::writeFile(dir / "empty.plist", "");
    EXPECT_FALSE(readPropertyList(dir / "empty.plist"));
    test::writeFile(dir / "cut.plist", "<?xml version=\"1.0\"?><plist><dict><key>a</key><str");
    EXPECT_FALSE(readPropertyList(dir / "cut.plist"));
    test::writeFile(dir / "text.plist", "just some text");
    EXPECT_FALSE(readPropertyList(dir / "text.plist"));
    test::writeFile(dir / "bin.plist", std::string("bplist00\x01\x02\x03garbage", 18));
    EXPECT_FALSE(readPropertyList(dir / "bin.plist"));
    EXPECT_FALSE(parsePropertyList(""));
    EXPECT_FALSE(readPropertyList(":/qvtransfer/no/such.plist"));
}

// Found by the property-list fuzzer: a string holding a NUL stopped the process inside libplist.
// Cut at the NUL it would name another path than the one written, so the file is not read.
TEST(PropertyList, AStringHoldingANulMakesTheFileUnreadable) {
    const std::string xml = std::string(
                                "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                                "<key>destination</key><string>/home/user/.QVTran") +
                            std::string(2, '\0') + "er/Public</string></dict></plist>";
    EXPECT_FALSE(parsePropertyList(xml));
    // The same file without the NULs reads.
    const auto clean = parsePropertyList(
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>destination</key>"
        "<string>/home/user/.QVTransfer/Public</string></dict></plist>");
    ASSERT_TRUE(clean && clean->asRecord());
    EXPECT_EQ(clean->asRecord()->string("destination"), "/home/user/.QVTransfer/Public");
}

// Found by the property-list fuzzer: a key holding a NUL stopped the process inside libplist,
// in a binary list and in XML text alike. Such a file is not read; the same lists without the
// NUL read.
TEST(PropertyList, AKeyHoldingANulMakesTheFileUnreadable) {
    // The fuzzer's own input: a binary list whose one key holds NULs.
    const std::string binary(
        "\x62\x70\x6c\x69\x73\x74\x30\x30\xd1\x01\x02\x62\x70\x6c\x00\x00\x74\x30\x30\x65\x01\x02"
        "\x51\x61\x51\x62\x08\x0b\x0d\x00\x00\x00\x00\x00\x00\x01\x01\x00\x00\x00\x00\x00\x00\x00"
        "\x03\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x0f\x51\x61\x51\x62\x08"
        "\x0b\x0d\x00\x00\x00\xae\x00\x00\x00\x01\x01\x00\x00\x00\x00\x00\x00\x00\x03\x00\x00\x00"
        "\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x41",
        101);
    EXPECT_FALSE(parsePropertyList(binary));
    const std::string xml =
        std::string("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>a") +
        std::string(1, '\0') + "b</key><string>x</string></dict></plist>";
    EXPECT_FALSE(parsePropertyList(xml));
    // A binary list made by libplist still reads.
    plist_t dict = plist_new_dict();
    plist_dict_set_item(dict, "key", plist_new_string("value"));
    char* bin = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(dict, &bin, &length);
    const auto clean = parsePropertyList(std::string(bin, length));
    plist_to_bin_free(bin);
    plist_free(dict);
    ASSERT_TRUE(clean && clean->asRecord());
    EXPECT_EQ(clean->asRecord()->string("key"), "value");
}

TEST(PropertyList, ReadsQtResources) {
    const auto v = readPropertyList(":/qvtransfer/system/SystemVersion.plist");
    ASSERT_TRUE(v && v->asRecord());
    EXPECT_EQ(v->asRecord()->string("ProductVersion"), "10.10");
}

TEST(PropertyList, WriteStoppedBeforeRenameKeepsTheOldFile) {
    test::TempDir dir;
    const std::string path = dir / "qvtransfer.plist";
    ASSERT_TRUE(writePropertyList(path, Record{{"v", 1}}));

    setFailBeforeRenameForTesting(true);
    EXPECT_FALSE(writePropertyList(path, Record{{"v", 2}}));
    setFailBeforeRenameForTesting(false);

    auto v = readPropertyList(path);
    ASSERT_TRUE(v && v->asRecord());
    EXPECT_EQ(v->asRecord()->integer("v"), 1);
    // As after a crash at that moment, the finished temporary file is still there...
    EXPECT_EQ(folderEntries(dir.path()).size(), 2u);

    // ...and the next write succeeds and clears it away.
    ASSERT_TRUE(writePropertyList(path, Record{{"v", 3}}));
    v = readPropertyList(path);
    ASSERT_TRUE(v && v->asRecord());
    EXPECT_EQ(v->asRecord()->integer("v"), 3);
    EXPECT_EQ(folderEntries(dir.path()), (std::vector<std::string>{"qvtransfer.plist"}));
}

TEST(PropertyList, FailedWritesLeaveNoTemporaryFile) {
    test::TempDir dir;
    // The target is a folder: the rename fails.
    ASSERT_EQ(mkdir((dir / "taken").c_str(), 0755), 0);
    EXPECT_FALSE(writePropertyList(dir / "taken", Record{{"v", 1}}));
    EXPECT_EQ(folderEntries(dir.path()), (std::vector<std::string>{"taken"}));
    // The folder does not exist.
    EXPECT_FALSE(writePropertyList(dir / "none/x.plist", Record{{"v", 1}}));
    EXPECT_FALSE(writePropertyList(":/qvtransfer/x.plist", Record{{"v", 1}}));
    EXPECT_FALSE(writePropertyList("", Record{{"v", 1}}));
}

TEST(PropertyList, ConcurrentWritersNeverLeaveAHalfFile) {
    test::TempDir dir;
    const std::string path = dir / "shared.plist";
    ASSERT_TRUE(writePropertyList(path, Record{{"writer", -1}, {"round", 0}}));
    std::atomic<bool> stop{false};
    std::atomic<int> badReads{0};
    std::thread reader([&] {
        while (!stop.load()) {
            const auto v = readPropertyList(path);
            if (!v || !v->asRecord() || !v->asRecord()->contains("round")) badReads++;
        }
    });
    std::vector<std::thread> writers;
    for (int w = 0; w < 3; ++w)
        writers.emplace_back([&, w] {
            for (int i = 0; i < 30; ++i)
                writePropertyList(path,
                                  Record{{"writer", w}, {"round", i}, {"pad", List(50, "x")}});
        });
    for (auto& t : writers) t.join();
    stop = true;
    reader.join();
    EXPECT_EQ(badReads.load(), 0);
    const auto v = readPropertyList(path);
    ASSERT_TRUE(v && v->asRecord());
    EXPECT_EQ(v->asRecord()->integer("round"), 29);
    EXPECT_EQ(folderEntries(dir.path()), (std::vector<std::string>{"shared.plist"}));
}

}  // namespace
}  // namespace qvt::platform
