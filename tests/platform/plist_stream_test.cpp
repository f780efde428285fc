// Property lists whose long list of strings is written one string at a time.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "platform/plist_io.h"
#include "support/support.h"

namespace qvt::platform {
namespace {

const std::string kMarker = "marker-7f3a";

std::vector<std::string> entries(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(folder))
        names.push_back(e.path().filename().string());
    return names;
}

std::string contents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

StreamedStrings streamOf(const std::vector<std::string>& strings) {
    return {kMarker, [strings](const std::function<bool(std::string_view)>& each) {
                for (const auto& s : strings)
                    if (!each(s)) return false;
                return true;
            }};
}

Record withList(const List& list) {
    return Record{{"before", "a & b"},
                  {"record", Record{{"deep", true}, {"paths", list}, {"after", 7}}},
                  {"last", "<end>"}};
}

// Names that need escaping or are otherwise unusual in a file name.
const std::vector<std::string>& oddNames() {
    static const std::vector<std::string> names = {"/m/Fotos & Filme/<1>.jpg",
                                                   "/m/Ünïcødé/日本語.txt",
                                                   "/m/line\nbreak",
                                                   "/m/tab\there",
                                                   "/m/quotes \"'",
                                                   "",
                                                   "/m/]]>",
                                                   std::string(300, 'x')};
    return names;
}

TEST(StreamedPropertyList, TheFileIsTheOneWrittenWithTheListInIt) {
    test::TempDir dir;
    List inline_;
    for (const auto& n : oddNames()) inline_.push_back(n);
    ASSERT_TRUE(writePropertyList(dir / "inline.plist", withList(inline_)));
    ASSERT_TRUE(
        writePropertyList(dir / "streamed.plist", withList(List{kMarker}), streamOf(oddNames())));
    EXPECT_EQ(contents(dir / "streamed.plist"), contents(dir / "inline.plist"));

    const auto back = readPropertyList(dir / "streamed.plist");
    ASSERT_TRUE(back && back->asRecord());
    EXPECT_EQ(*back, Value(withList(inline_)));
}

TEST(StreamedPropertyList, NoStringsGiveAnEmptyArray) {
    test::TempDir dir;
    ASSERT_TRUE(writePropertyList(dir / "s.plist", withList(List{kMarker}), streamOf({})));
    const auto back = readPropertyList(dir / "s.plist");
    ASSERT_TRUE(back);
    EXPECT_EQ(*back, Value(withList(List{})));
}

TEST(StreamedPropertyList, ManyStringsArriveInOrder) {
    test::TempDir dir;
    std::vector<std::string> strings;
    List expected;
    for (int i = 0; i < 30000; ++i) {
        strings.push_back("/home/u/.QVTransfer/Public/folder " + std::to_string(i / 100) +
                          "/file " + std::to_string(i) + ".bin");
        expected.push_back(strings.back());
    }
    ASSERT_TRUE(writePropertyList(dir / "s.plist", withList(List{kMarker}), streamOf(strings)));
    const auto back = readPropertyList(dir / "s.plist");
    ASSERT_TRUE(back);
    EXPECT_EQ(*back, Value(withList(expected)));
}

// A list that cannot be read back whole must not replace a good file with a short one.
TEST(StreamedPropertyList, AListThatFailsMidwayKeepsTheOldFile) {
    test::TempDir dir;
    const std::string path = dir / "s.plist";
    ASSERT_TRUE(writePropertyList(path, Record{{"v", 1}}));
    const StreamedStrings failing{kMarker, [](const std::function<bool(std::string_view)>& each) {
                                      each("/first");
                                      return false;
                                  }};
    EXPECT_FALSE(writePropertyList(path, withList(List{kMarker}), failing));
    const auto back = readPropertyList(path);
    ASSERT_TRUE(back && back->asRecord());
    EXPECT_EQ(back->asRecord()->integer("v"), 1);
    EXPECT_EQ(entries(dir.path()), (std::vector<std::string>{"s.plist"}));
}

TEST(StreamedPropertyList, AValueWithoutTheMarkerIsNotWritten) {
    test::TempDir dir;
    EXPECT_FALSE(writePropertyList(dir / "s.plist", withList(List{"other"}), streamOf({"/a"})));
    EXPECT_FALSE(writePropertyList(dir / "s.plist", withList(List{kMarker}),
                                   StreamedStrings{"", streamOf({"/a"}).forEach}));
    EXPECT_TRUE(entries(dir.path()).empty());
}

}  // namespace
}  // namespace qvt::platform
