// The state file calls a file done only once the destination's disk holds it: a file renamed to
// its final name may still be in memory, and after a power cut it would be there empty while the
// record, which is never copied again from, said it had arrived.
#include <ostream>
#include <semaphore>

#include "engine_fixture.h"
#include "platform/plist_io.h"

namespace qvt::enginetest {
namespace {

constexpr const char* kUuid = "6a1f0c3e-5b2d-4e8f-9a71-0c2b3d4e5f60";

// The record's sources still to copy and the files it calls handled, or nullopt without a
// record.
struct Recorded {
    std::vector<std::string> pending, handled;
    bool operator==(const Recorded&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Recorded& r) {
    out << "pending:";
    for (const auto& p : r.pending) out << " " << p;
    out << " handled:";
    for (const auto& p : r.handled) out << " " << p;
    return out;
}

std::optional<Recorded> recorded(const Session& s) {
    const auto root = platform::readPropertyList(s.c->transferDataFilePath);
    if (!root || !root->asRecord() || !root->asRecord()->record(kUuid)) return std::nullopt;
    const Record& record = *root->asRecord()->record(kUuid);
    Recorded r;
    if (const List* pending = record.list("sourceFilesPendingArray"))
        for (const Value& v : *pending)
            r.pending.push_back(v.asRecord() ? v.asRecord()->string("fullFilePath") : "?");
    if (const List* handled = record.list("inProcessSourceFilesArray"))
        for (const Value& v : *handled) r.handled.push_back(v.asString() ? *v.asString() : "?");
    return r;
}

TEST(FlushedRecord, AFileIsRecordedAsArrivedOnlyAfterTheDiskWasFlushed) {
    Session s(test::dasDevice());
    ASSERT_TRUE(s.c);
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    s.c->selectedDASUUID.set(kUuid);
    std::atomic<int> flushAnswer{0};
    std::atomic<int> flushes{0};
    std::atomic<bool> holding{false};
    std::binary_semaphore release{0};
    const std::string second = s.from("b.txt");
    // The second file's copy waits, so the upload is under way with the first one renamed to
    // its final name.
    layer.setHook([&](const std::string& op, const std::string& from,
                      const std::string&) -> std::optional<int> {
        if (op == "flush") {
            ++flushes;
            return flushAnswer.load() == 0 ? std::nullopt : std::optional<int>(flushAnswer.load());
        }
        if (op == "copy" && from == second) {
            holding = true;
            release.acquire();
        }
        return std::nullopt;
    });
    for (const char* n : {"a.txt", "b.txt"}) test::writeFile(s.from(n), n);
    s.setSources({s.from("a.txt"), second});
    s.c->job().numberOfFilesCountForTransfer = 2;
    s.c->job().begin();
    s.c->saveQVTransferDataToFile();
    const Recorded atStart{{s.from("a.txt"), second}, {}};
    ASSERT_EQ(recorded(s), atStart) << "the record at the start, before anything was copied";
    s.startCopyLoop();
    ASSERT_TRUE(test::waitFor([&] { return holding.load(); }, 20));
    ASSERT_EQ(test::readFile(s.at("a.txt")), "a.txt");

    // The disk does not take what is waiting to be written: the record written before stands.
    flushAnswer = EIO;
    const int before = flushes;
    s.c->saveQVTransferDataToFile();
    EXPECT_EQ(flushes, before + 1);
    EXPECT_EQ(recorded(s), atStart);
    EXPECT_TRUE(hasLine(s, "QVTransfer: saveQVTransferDataToFile: flushVolume: " + s.dst +
                               " error 5; the record is not written\n"));

    // Once the disk has it, the record says so.
    flushAnswer = 0;
    s.c->saveQVTransferDataToFile();
    EXPECT_EQ(recorded(s), (Recorded{{second}, {s.at("a.txt")}}));

    release.release();
    ASSERT_TRUE(s.waitCopyLoop());
    ASSERT_TRUE(s.settle());
    EXPECT_TRUE(s.c->isFileTransferCompleted());
    EXPECT_EQ(test::readFile(s.at("b.txt")), "b.txt");
}

// A file system that has no flush of its own is written to as it is; the last write before the
// process ends never waits for the disk.
TEST(FlushedRecord, AVolumeWithoutAFlushAndTheLastWriteAreRecordedAtOnce) {
    Session s(test::dasDevice());
    ASSERT_TRUE(s.c);
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    s.c->selectedDASUUID.set(kUuid);
    std::atomic<int> flushAnswer{ENOSYS};
    std::atomic<int> flushes{0};
    layer.setHook(
        [&](const std::string& op, const std::string&, const std::string&) -> std::optional<int> {
            if (op != "flush") return std::nullopt;
            ++flushes;
            return flushAnswer.load();
        });
    s.setSources({s.from("a.txt")});
    s.c->job().begin();
    s.c->saveQVTransferDataToFile();
    EXPECT_EQ(flushes, 1);
    EXPECT_EQ(recorded(s), (Recorded{{s.from("a.txt")}, {}}));

    flushAnswer = EIO;
    s.c->progressStatus.set("Going");
    s.c->saveQVTransferDataToFileForExit();
    EXPECT_EQ(flushes, 1);
    const auto root = platform::readPropertyList(s.c->transferDataFilePath);
    ASSERT_TRUE(root && root->asRecord() && root->asRecord()->record(kUuid));
    EXPECT_EQ(root->asRecord()->record(kUuid)->string("progressStatus"), "Going");
    s.c->job().cancel();
}

// The disk refuses the flush at the end (gone read-only after an error): the files renamed since
// its last good flush may not be on it, so they are failed items and the upload does not say
// that everything arrived. The file a good flush covered did arrive.
TEST(FlushedRecord, FilesTheEndsFlushCouldNotWriteOutAreFailedItems) {
    Session s(test::dasDevice());
    ASSERT_TRUE(s.c);
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    s.c->selectedDASUUID.set(kUuid);
    s.c->localeSOME_FILES_SUCCESSFULLY_UPLOADED_txt = "%@ of %@ files uploaded";
    std::atomic<int> flushAnswer{0};
    std::atomic<int> copies{0};
    QVTransferPrivate* c = s.c.get();
    layer.setHook([&](const std::string& op, const std::string&,
                      const std::string&) -> std::optional<int> {
        if (op == "flush")
            return flushAnswer.load() == 0 ? std::nullopt : std::optional<int>(flushAnswer.load());
        // The state file is written after the first file, with a good flush; then the disk
        // goes read-only.
        if (op == "copy" && ++copies == 2) {
            c->saveQVTransferDataToFile();
            flushAnswer = EROFS;
        }
        return std::nullopt;
    });
    for (const char* n : {"a.txt", "b.txt", "c.txt"}) test::writeFile(s.from(n), n);
    s.setSources({s.from("a.txt"), s.from("b.txt"), s.from("c.txt")});
    s.c->job().numberOfFilesCountForTransfer = 3;
    s.c->job().begin();
    s.startCopyLoop();
    ASSERT_TRUE(s.waitCopyLoop());
    ASSERT_TRUE(s.settle());
    EXPECT_TRUE(s.c->isFileTransferCompleted());
    const List failed = s.c->failedTransferArray.get();
    ASSERT_EQ(failed.size(), 2u);
    const std::string reason = "The disk did not confirm that the file was written to it (" +
                               platform::errorDescription(EROFS) +
                               "). Check the disk, then upload the file again.";
    for (std::size_t i = 0; i < 2; ++i) {
        const std::string name = i == 0 ? "b.txt" : "c.txt";
        EXPECT_EQ(failed[i].asRecord()->string("sourceFilePath"), s.from(name));
        EXPECT_EQ(failed[i].asRecord()->string("destFilePath"), s.at(name));
        EXPECT_EQ(failed[i].asRecord()->string("localizedError"), reason);
    }
    EXPECT_EQ(s.c->arrivedFileCount(), 1u);
    EXPECT_NE(s.c->progressStatus.get().find("1 of 3 files uploaded"), std::string::npos)
        << s.c->progressStatus.get();
}

// A file system with no flush of its own to call answers ENOSYS: nothing better can be done for
// it, at the end as between two records, and its files are not failed items for that.
TEST(FlushedRecord, AFileSystemWithoutAFlushOfItsOwnFailsNoFile) {
    Session s(test::dasDevice());
    ASSERT_TRUE(s.c);
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    s.c->selectedDASUUID.set(kUuid);
    std::atomic<int> flushes{0};
    std::atomic<int> copies{0};
    QVTransferPrivate* c = s.c.get();
    layer.setHook(
        [&](const std::string& op, const std::string&, const std::string&) -> std::optional<int> {
            if (op == "flush") {
                ++flushes;
                return ENOSYS;
            }
            if (op == "copy" && ++copies == 2) c->saveQVTransferDataToFile();
            return std::nullopt;
        });
    for (const char* n : {"a.txt", "b.txt"}) test::writeFile(s.from(n), n);
    s.setSources({s.from("a.txt"), s.from("b.txt")});
    s.c->job().numberOfFilesCountForTransfer = 2;
    s.c->job().begin();
    s.startCopyLoop();
    ASSERT_TRUE(s.waitCopyLoop());
    ASSERT_TRUE(s.settle());
    EXPECT_TRUE(s.c->isFileTransferCompleted());
    EXPECT_GE(flushes.load(), 2) << "the record's flush and the end's";
    EXPECT_TRUE(s.c->failedTransferArray.get().empty());
    EXPECT_EQ(s.c->arrivedFileCount(), 2u);
    EXPECT_EQ(test::readFile(s.at("b.txt")), "b.txt");
}

}  // namespace
}  // namespace qvt::enginetest
