// The state file's record built from plain values: keys, order, the pending list and the
// reduced entries with their truncation.
#include <gtest/gtest.h>

#include "session/transfer_record.h"

using namespace qvt;
using namespace qvt::session;

namespace {

Record fullEntry(const std::string& path) {
    return Record{{"fullFilePath", path},
                  {"fileName", path.substr(path.rfind('/') + 1)},
                  {"fileImage", Data{1, 2, 3}},
                  {"filesSelectCheckbox", 1},
                  {"numberOfFiles", "3 files"},
                  {"numberOfFolders", "1 folder"},
                  {"fileSize", std::uint64_t{123456}}};
}

std::vector<std::string> keysOf(const Record& r) {
    return r.keys();
}

}  // namespace

TEST(TransferRecord, KeysInTheirOrder) {
    TransferState s;
    s.deviceType = "NAS";
    const Record r = buildTransferRecord(s);
    EXPECT_EQ(keysOf(r),
              (std::vector<std::string>{
                  "isFileTransferCompleted", "isFileTransferFailed", "isFileTransferCancelled",
                  "isFileTransferPaused", "isDeviceReachable", "deviceType",
                  "selectedDestinationShare", "progressStatus", "subProgressStatus",
                  "sourceFilesPendingArray", "inProcessSourceFilesArray", "failedTransferArray"}));
}

TEST(TransferRecord, APendingEntryKeepsItsLabelsAndNotTheCountsBesideThem) {
    TransferState s;
    s.deviceType = "DAS";
    s.sourceFilesArray = List{Record{{"filesSelectCheckbox", 1},
                                     {"fileImage", "inode-directory"},
                                     {"fileName", "Photos"},
                                     {"fullFilePath", "/home/u/Photos"},
                                     {"numberOfFiles", "3 files"},
                                     {"numberOfFolders", "1 folder"},
                                     {"fileSize", 42},
                                     {"fileCount", 3},
                                     {"folderCount", 1}}};
    const Record r = buildTransferRecord(s);
    const List* pending = r.list("sourceFilesPendingArray");
    ASSERT_TRUE(pending);
    ASSERT_EQ(pending->size(), 1u);
    EXPECT_EQ(keysOf(*(*pending)[0].asRecord()),
              (std::vector<std::string>{"filesSelectCheckbox", "fileName", "fullFilePath",
                                        "numberOfFiles", "numberOfFolders", "fileSize"}));
}

TEST(TransferRecord, ValuesAreTheSnapshots) {
    TransferState s;
    s.isFileTransferCompleted = true;
    s.isFileTransferFailed = true;
    s.isFileTransferPaused = true;
    s.isDeviceReachable = false;
    s.deviceType = "DAS";
    s.selectedDestinationShare = "/media/disk/Photos";
    s.progressStatus = "line one\nline two";
    s.subProgressStatus = "sub";
    s.inProcessSourceFilesArray = {"/media/disk/Photos/a.jpg", "/media/disk/Photos/b.jpg"};
    s.failedTransferArray = List{Record{{"sourceFilePath", "/x"},
                                        {"destFilePath", "/media/disk/Photos/x"},
                                        {"localizedError", "Permission denied"}}};
    const Record r = buildTransferRecord(s);
    EXPECT_TRUE(r.boolean("isFileTransferCompleted"));
    EXPECT_TRUE(r.boolean("isFileTransferFailed"));
    EXPECT_FALSE(r.boolean("isFileTransferCancelled", true));
    EXPECT_TRUE(r.boolean("isFileTransferPaused"));
    EXPECT_FALSE(r.boolean("isDeviceReachable", true));
    EXPECT_EQ(r.string("deviceType"), "DAS");
    EXPECT_EQ(r.string("selectedDestinationShare"), "/media/disk/Photos");
    EXPECT_EQ(r.string("progressStatus"), "line one\nline two");
    EXPECT_EQ(r.string("subProgressStatus"), "sub");
    ASSERT_TRUE(r.list("inProcessSourceFilesArray"));
    EXPECT_EQ(*r.list("inProcessSourceFilesArray"),
              (List{"/media/disk/Photos/a.jpg", "/media/disk/Photos/b.jpg"}));
    ASSERT_TRUE(r.list("failedTransferArray"));
    EXPECT_EQ(*r.list("failedTransferArray"), s.failedTransferArray);
}

TEST(TransferRecord, ACompletedUploadHasNothingPending) {
    // The upload ends inside its last entry, which the transferred list never gets.
    TransferState s;
    s.sourceFilesArray = List{fullEntry("/home/u/a.txt"), fullEntry("/home/u/Photos")};
    s.transferredSourceFilesArray = List{fullEntry("/home/u/a.txt")};
    const Record running = buildTransferRecord(s);
    ASSERT_TRUE(running.list("sourceFilesPendingArray"));
    ASSERT_EQ(running.list("sourceFilesPendingArray")->size(), 1u);
    EXPECT_EQ((*running.list("sourceFilesPendingArray"))[0].asRecord()->string("fullFilePath"),
              "/home/u/Photos");

    s.isFileTransferCompleted = true;
    const Record done = buildTransferRecord(s);
    ASSERT_TRUE(done.list("sourceFilesPendingArray"));
    EXPECT_TRUE(done.list("sourceFilesPendingArray")->empty());
    EXPECT_TRUE(done.boolean("isFileTransferCompleted"));
}

// The move option is this program's own key: written as true for a move, and not at all for a
// copy, whose record stays as it always was.
TEST(TransferRecord, AMoveIsRecordedAndACopyHasNoMoveKey) {
    TransferState s;
    s.sourceFilesArray = List{fullEntry("/home/u/a.txt")};
    EXPECT_EQ(buildTransferRecord(s).find("removeFilesAfterUpload"), nullptr);
    s.removeFilesAfterUpload = true;
    const Record moving = buildTransferRecord(s);
    ASSERT_NE(moving.find("removeFilesAfterUpload"), nullptr);
    EXPECT_TRUE(moving.find("removeFilesAfterUpload")->isBool());
    EXPECT_TRUE(moving.boolean("removeFilesAfterUpload"));
}

TEST(PendingEntries, TransferredEntriesAreLeftOutAndTheOrderKept) {
    const Record a = fullEntry("/home/u/a"), b = fullEntry("/home/u/b"), c = fullEntry("/home/u/c");
    Record unticked = fullEntry("/home/u/d");
    unticked.set("filesSelectCheckbox", 0);
    const List pending = pendingSourceEntries(List{a, b, c, unticked}, List{b});
    ASSERT_EQ(pending.size(), 3u);
    EXPECT_EQ(pending[0].asRecord()->string("fullFilePath"), "/home/u/a");
    EXPECT_EQ(pending[1].asRecord()->string("fullFilePath"), "/home/u/c");
    // Unticked entries stay; the reader skips them.
    EXPECT_EQ(pending[2].asRecord()->string("fullFilePath"), "/home/u/d");
    EXPECT_EQ(pending[2].asRecord()->integer("filesSelectCheckbox", -1), 0);
}

TEST(PendingEntries, EqualMeansSameKeysAndValues) {
    const Record a = fullEntry("/home/u/a");
    Record changed = a;
    changed.set("numberOfFiles", "4 files");  // counted again since: no longer equal
    EXPECT_EQ(pendingSourceEntries(List{a}, List{changed}).size(), 1u);
    // Key order does not matter.
    Record reordered;
    for (auto it = a.entries().rbegin(); it != a.entries().rend(); ++it)
        reordered.set(it->first, it->second);
    EXPECT_TRUE(pendingSourceEntries(List{a}, List{reordered}).empty());
}

TEST(PendingEntries, AllCopiedLeavesNothingPending) {
    const Record a = fullEntry("/a"), b = fullEntry("/b");
    EXPECT_TRUE(pendingSourceEntries(List{a, b}, List{a, b}).empty());
    EXPECT_TRUE(pendingSourceEntries(List{}, List{a}).empty());
}

TEST(ReducedEntry, SixKeysInOrderWithoutTheImage) {
    const Record r = reducePendingEntry(fullEntry("/home/u/Music"));
    EXPECT_EQ(keysOf(r),
              (std::vector<std::string>{"filesSelectCheckbox", "fileName", "fullFilePath",
                                        "numberOfFiles", "numberOfFolders", "fileSize"}));
    EXPECT_EQ(r.integer("filesSelectCheckbox"), 1);
    EXPECT_EQ(r.string("fileName"), "Music");
    EXPECT_EQ(r.string("fullFilePath"), "/home/u/Music");
    EXPECT_EQ(r.string("numberOfFiles"), "3 files");
    EXPECT_EQ(r.string("numberOfFolders"), "1 folder");
    EXPECT_EQ(*r.find("fileSize"), Value(std::uint64_t{123456}));
    EXPECT_FALSE(r.contains("fileImage"));
}

TEST(ReducedEntry, EndsAtTheFirstMissingValue) {
    struct Case {
        const char* missing;
        std::vector<std::string> kept;
    };
    const std::vector<Case> cases = {
        {"filesSelectCheckbox", {}},
        {"fileName", {"filesSelectCheckbox"}},
        {"fullFilePath", {"filesSelectCheckbox", "fileName"}},
        {"numberOfFiles", {"filesSelectCheckbox", "fileName", "fullFilePath"}},
        {"numberOfFolders", {"filesSelectCheckbox", "fileName", "fullFilePath", "numberOfFiles"}},
        {"fileSize",
         {"filesSelectCheckbox", "fileName", "fullFilePath", "numberOfFiles", "numberOfFolders"}},
    };
    for (const auto& c : cases) {
        Record entry = fullEntry("/home/u/a");
        entry.remove(c.missing);
        EXPECT_EQ(keysOf(reducePendingEntry(entry)), c.kept) << "without " << c.missing;
    }
}

TEST(ReducedEntry, ANullValueCountsAsMissing) {
    Record entry = fullEntry("/a");
    entry.set("fullFilePath", Value());
    EXPECT_EQ(keysOf(reducePendingEntry(entry)),
              (std::vector<std::string>{"filesSelectCheckbox", "fileName"}));
}

TEST(ReducedEntry, ValuesOfAnotherTypeAreCopiedUnchanged) {
    Record entry = fullEntry("/a");
    entry.set("fileSize", "not a number");
    entry.set("filesSelectCheckbox", true);
    entry.set("numberOfFiles", 7);
    const Record r = reducePendingEntry(entry);
    EXPECT_EQ(r.size(), 6u);
    EXPECT_EQ(*r.find("fileSize"), Value("not a number"));
    EXPECT_EQ(*r.find("filesSelectCheckbox"), Value(true));
    EXPECT_EQ(*r.find("numberOfFiles"), Value(7));
}

TEST(ReducedEntry, AnEntryThatIsNotARecordBecomesAnEmptyOne) {
    EXPECT_TRUE(reducePendingEntry(Value("just a path")).empty());
    EXPECT_TRUE(reducePendingEntry(Value(List{1, 2})).empty());
    EXPECT_TRUE(reducePendingEntry(Value()).empty());
    const List pending = pendingSourceEntries(List{Value("odd"), fullEntry("/a")}, List{});
    ASSERT_EQ(pending.size(), 2u);
    EXPECT_TRUE(pending[0].asRecord()->empty());
    EXPECT_EQ(pending[1].asRecord()->size(), 6u);
}

TEST(TransferDataRoot, KeyedByDeviceType) {
    const Record rec{{"x", 1}};
    const Record nas = buildTransferDataRoot("NAS", "SN1", "UUID-1", rec);
    EXPECT_EQ(nas.keys(), std::vector<std::string>{"SN1"});
    const Record das = buildTransferDataRoot("DAS", "SN1", "UUID-1", rec);
    EXPECT_EQ(das.keys(), std::vector<std::string>{"UUID-1"});
    EXPECT_TRUE(buildTransferDataRoot("DAS", "SN1", "", rec).empty());
    EXPECT_TRUE(buildTransferDataRoot("USB", "SN1", "UUID-1", rec).empty());
    EXPECT_TRUE(buildTransferDataRoot("NAS", "", "UUID-1", rec).empty());
}

TEST(TransferRecord, TheTagOfTheUploadsHiddenCopiesIsRecordedAndReadBack) {
    TransferState s;
    s.sourceFilesArray = List{fullEntry("/home/u/a.txt")};
    EXPECT_EQ(buildTransferRecord(s).find(kPartialCopyTagKey), nullptr);
    s.partialCopyTag = 0x00c0ffee;
    const Record record = buildTransferRecord(s);
    EXPECT_EQ(record.string(kPartialCopyTagKey), "00c0ffee");
    EXPECT_EQ(partialCopyTagOf(record), 0x00c0ffeeu);
    // A tag of another form or type, or none, is no tag: nothing is swept under it.
    for (const Value& bad : {Value("00C0FFEE"), Value("c0ffee"), Value("00c0ffee0"),
                             Value("0000000g"), Value("00000000"), Value(std::int64_t{12})}) {
        Record forged = record;
        forged.set(kPartialCopyTagKey, bad);
        EXPECT_EQ(partialCopyTagOf(forged), 0u);
    }
    EXPECT_EQ(partialCopyTagOf(Record{}), 0u);
}
