// FolderNode records, the cell rules of the tree and the share entries with their order.
#include <gtest/gtest.h>

#include "destination/folder_node.h"
#include "destination/share_list.h"

using namespace qvt;
using namespace qvt::destination;

namespace {

std::vector<std::string> shareNames(const std::vector<Record>& entries) {
    std::vector<std::string> out;
    for (const auto& e : entries) out.push_back(e.string("share_name"));
    return out;
}

Record share(const std::string& name, const std::string& isPublic, const std::string& access) {
    return Record{{"share_name", name}, {"public_access", isPublic}, {"share_access", access}};
}

}  // namespace

TEST(FolderNode, NewNodeHasTheKeysInOrderAndNoChildren) {
    const Record node = makeFolderNode("Photos", "/v/Photos", fileIconFor("/v/Photos"));
    EXPECT_EQ(node.keys(), (std::vector<std::string>{"folderName", "folderFullPath", "folderImage",
                                                     "uploadFoldersArray"}));
    EXPECT_EQ(node.string(kFolderImage), "iconForFile:/v/Photos");
    EXPECT_EQ(fileIconPath(node.string(kFolderImage)), std::optional<std::string>("/v/Photos"));
    EXPECT_FALSE(fileIconPath("cloud_up"));
    EXPECT_FALSE(hasChildren(node));
    // Volume folders never carry a selected image.
    EXPECT_FALSE(node.contains(kFolderSelectedImage));

    const Record shareNode =
        makeFolderNode("Public", "/m/Public", kShareImage, kShareSelectedImage);
    EXPECT_EQ(shareNode.string(kFolderSelectedImage), "cloud_down");
}

TEST(FolderNode, PlaceholderIsOneEmptyRecord) {
    Record node = makeFolderNode("A", "/A", "x");
    node.set(kUploadFoldersArray, List{placeholderRecord()});
    EXPECT_TRUE(hasChildren(node));
    EXPECT_TRUE(isPlaceholder(node.list(kUploadFoldersArray)->front()));
    EXPECT_FALSE(isPlaceholder(Value(node)));
    EXPECT_FALSE(isPlaceholder(Value("text")));
}

TEST(FolderNode, IndexPathsLeadThroughTheChildren) {
    Record child = makeFolderNode("B", "/A/B", "x");
    Record root = makeFolderNode("A", "/A", "x");
    root.set(kUploadFoldersArray, List{placeholderRecord(), child});
    List roots{root, makeFolderNode("C", "/C", "x")};
    ASSERT_TRUE(nodeAt(roots, {0, 1}));
    EXPECT_EQ(nodeAt(roots, {0, 1})->string(kFolderName), "B");
    EXPECT_EQ(nodeAt(roots, {1})->string(kFolderName), "C");
    EXPECT_FALSE(nodeAt(roots, {}));
    EXPECT_FALSE(nodeAt(roots, {2}));
    EXPECT_FALSE(nodeAt(roots, {0, 1, 0}));
    // The path must still stand for the same folder.
    EXPECT_TRUE(resolve(roots, {0, 1}, "/A/B"));
    EXPECT_FALSE(resolve(roots, {0, 1}, "/A/Other"));
}

TEST(FolderCells, SelectedRowIsNearWhiteWithTheSelectedImage) {
    const Record shareNode =
        makeFolderNode("Public", "/m/Public", kShareImage, kShareSelectedImage);
    const CellStyle selected = cellStyle(shareNode, true);
    EXPECT_EQ(selected.text, (CellColour{250, 250, 250, 255}));
    EXPECT_EQ(selected.image, "cloud_down");
    const CellStyle plain = cellStyle(shareNode, false);
    EXPECT_EQ(plain.text, (CellColour{75, 90, 103, 255}));
    EXPECT_EQ(plain.image, "cloud_up");
}

TEST(FolderCells, FolderWithoutSelectedImageKeepsItsIcon) {
    const Record node = makeFolderNode("Photos", "/v/Photos", fileIconFor("/v/Photos"));
    EXPECT_EQ(cellStyle(node, true).image, "iconForFile:/v/Photos");
    EXPECT_EQ(cellStyle(node, true).text, (CellColour{250, 250, 250, 255}));
    EXPECT_EQ(cellStyle(node, false).image, "iconForFile:/v/Photos");
}

TEST(ShareEntries, CopyTheThreeKeysInOrder) {
    Record s = share("Public", "true", "RW");
    s.set("share_access_1", "RO");
    s.set("description", "ignored");
    const Record e = makeShareEntry(s);
    EXPECT_EQ(e.keys(), (std::vector<std::string>{"share_name", "public_access", "share_access"}));
    // The home-share key is never copied, so every share keeps the cloud icons.
    EXPECT_FALSE(e.contains("share_access_1"));
}

TEST(ShareEntries, StopAtTheFirstMissingKey) {
    EXPECT_TRUE(makeShareEntry(Record{{"public_access", "true"}, {"share_access", "RW"}}).empty());
    const Record nameOnly = makeShareEntry(Record{{"share_name", "A"}, {"share_access", "RW"}});
    EXPECT_EQ(nameOnly.keys(), (std::vector<std::string>{"share_name"}));
    EXPECT_TRUE(makeShareEntry(Value("not a record")).empty());
}

TEST(ShareEntries, PrivateBeforePublicThenNameCaseSensitive) {
    std::vector<Record> entries{share("Public", "true", "RW"), share("alice", "false", "RW"),
                                share("Backup", "false", "RW")};
    sortShareEntries(entries);
    EXPECT_EQ(shareNames(entries), (std::vector<std::string>{"Backup", "alice", "Public"}));

    std::vector<Record> more{share("zeta", "true", "RO"), share("Alpha", "true", "RO"),
                             share("beta", "false", "RO"), share("Zed", "false", "RO")};
    sortShareEntries(more);
    EXPECT_EQ(shareNames(more), (std::vector<std::string>{"Zed", "beta", "Alpha", "zeta"}));
}

TEST(ShareEntries, EntriesLackingAKeySortFirst) {
    std::vector<Record> entries{share("B", "false", "RW"), Record{{"share_name", "Lonely"}},
                                Record{}};
    sortShareEntries(entries);
    EXPECT_EQ(shareNames(entries), (std::vector<std::string>{"", "Lonely", "B"}));
}
