// Pausing and cancelling a whole upload while the 100 MiB file is being copied. The real file
// layer copies every byte; the copy of the big file is held after its last byte is written and
// before it returns, so the pause or the cancel lands while the upload is inside that file.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <optional>
#include <utility>

#include "engine/partial_copy.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "upload_fixture.h"

namespace qvt::uploadtest {
namespace {

constexpr std::size_t kBig = 100u << 20;

// Releases a held copy when the test ends, whatever happened, before the session goes.
struct ReleaseOnExit {
    HoldingFiles& files;
    ~ReleaseOnExit() { files.release(); }
};

std::set<std::string> pathsOf(const List& rows) {
    std::set<std::string> out;
    for (const Value& v : rows)
        if (const Record* r = v.asRecord()) out.insert(r->string("fullFilePath"));
    return out;
}

// The file's modification time, to the nanosecond; nothing when it is not there.
std::optional<std::pair<long, long>> modified(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) return std::nullopt;
    return std::make_pair(static_cast<long>(st.st_mtim.tv_sec), st.st_mtim.tv_nsec);
}

class PauseCancelUpload : public ::testing::Test {
  protected:
    void SetUp() override {
        volume = std::make_unique<Ext4Volume>(box.root(), box.root() + "/Drive", 320);
        ASSERT_TRUE(volume->ok());
        dest = volume->path() + "/Uploads";
        fs::create_directories(dest);
    }
    void TearDown() override {
        volume.reset();
        box.releaseMounts();
    }

    // The mixed tree with the big file, something listed after it in its folder, and a
    // top-level file; the sources are added and the destination screen shown.
    void prepare(UploadSession& s) {
        tree = makeMixedTree(s.home() + "/sources", kBig);
        ensureSomethingListedAfter(tree + "/big", "huge.bin");
        single = s.home() + "/sources/later.txt";
        test::writeFile(single, "later\n");
        expected = snapshot(tree, true);
        ASSERT_TRUE(s.addSources({tree, single}));
        ASSERT_TRUE(s.toDestination(false));
        bigAtDest = dest + "/Mixed Tree/big/huge.bin";
    }

    // The files now at the destination (relative to it).
    std::set<std::string> filesAtDest() const { return filesOf(snapshot(dest, false)); }
    // The same with their contents, leaving out the file at `except`.
    std::map<std::string, std::string> digestsAtDest(const std::string& except = "") const {
        std::map<std::string, std::string> digests;
        for (const std::string& rel : filesAtDest())
            if (dest + "/" + rel != except) digests[rel] = sha256Of(dest + "/" + rel);
        return digests;
    }
    // Starts the upload and waits until the big file's copy is held: the path of its hidden
    // copy ("" when it is not held in time).
    std::string uploadUntilTheBigFileIsHeld(UploadSession& s, HoldingFiles& files) {
        files.holdCopyOf("/big/huge.bin");
        s.upload(dest);
        if (!files.waitHeld(120)) return "";
        return s.c().job().inProcessDestFilePath.get();
    }

    mounttest::MountSandbox box;
    std::unique_ptr<Ext4Volume> volume;
    std::string dest, tree, single, bigAtDest;
    Snapshot expected;
};

TEST_F(PauseCancelUpload, PauseInTheBigFileLetsItFinishHoldsTheNextAndShiftsTheClock) {
    HoldingFiles files;
    FilesOverride useFiles(&files);
    UploadSession s(dasDeviceFor(*volume));
    ReleaseOnExit releaseOnExit{files};
    ASSERT_NO_FATAL_FAILURE(prepare(s));
    files.holdCopyOf("/big/huge.bin");
    s.upload(dest);
    ASSERT_TRUE(files.waitHeld(120));
    // The big file is written under its hidden name: its own name appears only once it is
    // whole.
    EXPECT_TRUE(isPartialCopyOf(s.c().job().inProcessDestFilePath.get(), bigAtDest));
    EXPECT_FALSE(fs::exists(bigAtDest));
    ASSERT_TRUE(test::waitFor([&] { return s.c().job().startedAt() != Date{}; }, 10));
    const Date startBefore = s.c().job().startedAt();

    // The pause button, while the big file is in hand.
    s.c().cancelUploadFiles(3);
    EXPECT_TRUE(s.c().uploadPaused());
    files.release();

    // The big file is finished; the copy thread then waits at the next file.
    ASSERT_TRUE(test::waitFor(
        [&] { return s.logged("QVTransfer: transferFile 1: transfer_semaphore"); }, 60));
    EXPECT_EQ(sha256Of(bigAtDest), expected.at("big/huge.bin").digest);
    EXPECT_EQ(s.c().job().inProcessDestFilePath.get(), "");
    const std::set<std::string> whilePaused = filesAtDest();
    // Only files already handled are at the destination.
    std::set<std::string> handled;
    for (const std::string& p : s.c().inProcessSourceFilesArray.get())
        handled.insert(fs::path(p).lexically_relative(dest).string());
    EXPECT_EQ(whilePaused, handled);
    EXPECT_TRUE(whilePaused.count("Mixed Tree/big/huge.bin"));
    EXPECT_LT(whilePaused.size(), filesOf(expected).size() + 1);

    // While paused the state file says paused and lists what is still to come, the folder in
    // hand included.
    std::optional<Record> record;
    ASSERT_TRUE(test::waitFor(
        [&] {
            const auto state = s.stateFile();
            const Record* r = state ? state->record(volume->uuid()) : nullptr;
            if (!r || !r->find("isFileTransferPaused") ||
                !r->find("isFileTransferPaused")->toBool())
                return false;
            const List* done = r->list("inProcessSourceFilesArray");
            if (!done || std::none_of(done->begin(), done->end(),
                                      [&](const Value& v) { return v.toString() == bigAtDest; }))
                return false;
            record = *r;
            return true;
        },
        20));
    const List* pending = record->list("sourceFilesPendingArray");
    ASSERT_TRUE(pending);
    std::set<std::string> notYetCopied = pathsOf(s.c().sourceFilesArray.get());
    for (const std::string& p : pathsOf(s.c().transferredSourceFilesArray.get()))
        notYetCopied.erase(p);
    EXPECT_EQ(pathsOf(*pending), notYetCopied);
    EXPECT_TRUE(pathsOf(*pending).count(tree));
    for (const Value& v : *pending) {
        const Record* entry = v.asRecord();
        ASSERT_TRUE(entry);
        EXPECT_EQ(entry->size(), 6u);
        EXPECT_TRUE(entry->find("fileSize"));
    }

    // Nothing new arrives while three rounds of the state-file writer (3 seconds each on the
    // product's clock) pass, and the file is not written again: its record has not changed.
    const auto written = modified(s.c().transferDataFilePath);
    ASSERT_TRUE(written);
    const Date quietFrom = s.c().clock().now();
    ASSERT_TRUE(test::waitFor(
        [&] { return s.c().clock().now() - quietFrom > std::chrono::seconds(10); }, 20));
    EXPECT_EQ(filesAtDest(), whilePaused);
    EXPECT_EQ(modified(s.c().transferDataFilePath), written);
    EXPECT_FALSE(s.logged("QVTransfer: transferFile 2: transfer_semaphore"));

    // Resume: the start of the upload moves later by the pause's length.
    const Date pausedAt = s.c().job().pausedAt();
    const Date beforeResume = s.c().clock().now();
    s.c().cancelUploadFiles(4);
    const Date afterResume = s.c().clock().now();
    EXPECT_FALSE(s.c().uploadPaused());
    const auto shift = s.c().job().startedAt() - startBefore;
    EXPECT_GE(shift, beforeResume - pausedAt);
    EXPECT_LE(shift, afterResume - pausedAt);
    EXPECT_GT(beforeResume - pausedAt, std::chrono::seconds(1));

    ASSERT_TRUE(s.waitCompleted());
    EXPECT_TRUE(s.logged("QVTransfer: transferFile 2: transfer_semaphore"));
    EXPECT_TRUE(s.failures().empty());
    EXPECT_EQ(difference(expected, snapshot(dest + "/Mixed Tree", false)), "");
    EXPECT_EQ(test::readFile(dest + "/later.txt"), "later\n");
    EXPECT_EQ(s.delegate().cancelCount.load(), 0);
}

TEST_F(PauseCancelUpload, StopAndCancelInTheBigFileRemovesItKeepsEarlierFilesTellsTheHostOnce) {
    HoldingFiles files;
    FilesOverride useFiles(&files);
    UploadSession s(dasDeviceFor(*volume));
    ReleaseOnExit releaseOnExit{files};
    ASSERT_NO_FATAL_FAILURE(prepare(s));
    const std::string partial = uploadUntilTheBigFileIsHeld(s, files);
    ASSERT_TRUE(isPartialCopyOf(partial, bigAtDest));
    ASSERT_TRUE(fs::exists(partial));
    EXPECT_FALSE(fs::exists(bigAtDest));

    // Files finished before the big one, with their contents.
    const auto earlier = digestsAtDest(partial);

    // The stop button (pause and the confirmation), then the confirmation's stop button.
    s.c().cancelUploadFiles(0);
    EXPECT_TRUE(s.c().uploadPaused());
    EXPECT_TRUE(test::ScriptedView(s.harness().view).called("runModal cancelUploadConfDialog"));
    s.c().cancelUploadFiles(2);
    EXPECT_TRUE(s.c().uploadCancelled());
    EXPECT_FALSE(fs::exists(partial));
    files.release();
    ASSERT_TRUE(s.settle());

    EXPECT_FALSE(fs::exists(partial));
    EXPECT_FALSE(fs::exists(bigAtDest));
    EXPECT_FALSE(s.c().isFileTransferCompleted());
    EXPECT_EQ(s.delegate().cancelCount.load(), 1);
    EXPECT_EQ(digestsAtDest(), earlier);
    for (const auto& [rel, digest] : earlier) {
        if (rel == "later.txt") continue;
        EXPECT_EQ(digest,
                  expected.at(fs::path(rel).lexically_relative("Mixed Tree").string()).digest)
            << rel;
    }

    // The state file says, under the volume's key, that the last upload was cancelled.
    const auto state = s.stateFile();
    ASSERT_TRUE(state);
    ASSERT_EQ(state->size(), 1u);
    const Record* record = state->record(volume->uuid());
    ASSERT_TRUE(record);
    EXPECT_TRUE(record->empty());
    // The sources are untouched.
    EXPECT_EQ(difference(expected, snapshot(tree, true)), "");
}

// A share refuses to remove a file that is still open for writing. A layer that does the same
// for hidden copies while `refuse` is set.
class RemovalRefusedWhileWritten : public HoldingFiles {
  public:
    int removeItem(const std::string& path) override {
        if (refuse && engine::isTemporaryName(fs::path(path).filename().string())) return EBUSY;
        return HoldingFiles::removeItem(path);
    }
    std::atomic<bool> refuse{false};
};

// The stop comes while the big file's copy still holds it open, and its removal is refused: the
// copy thread removes it once its copy has let go of it, and never gives it the final name.
TEST_F(PauseCancelUpload, AStopWhoseRemovalIsRefusedLeavesTheCopyToRemoveItsHiddenFile) {
    RemovalRefusedWhileWritten files;
    FilesOverride useFiles(&files);
    UploadSession s(dasDeviceFor(*volume));
    ReleaseOnExit releaseOnExit{files};
    ASSERT_NO_FATAL_FAILURE(prepare(s));
    const std::string partial = uploadUntilTheBigFileIsHeld(s, files);
    ASSERT_TRUE(isPartialCopyOf(partial, bigAtDest));
    const auto earlier = digestsAtDest(partial);

    files.refuse = true;
    s.c().cancelUploadFiles(0);
    s.c().cancelUploadFiles(2);
    EXPECT_TRUE(s.c().uploadCancelled());
    // Refused: still there, and still the file in hand.
    EXPECT_TRUE(fs::exists(partial));
    EXPECT_EQ(s.c().job().inProcessDestFilePath.get(), partial);
    files.refuse = false;
    files.release();
    ASSERT_TRUE(s.settle());

    EXPECT_FALSE(fs::exists(partial));
    EXPECT_FALSE(fs::exists(bigAtDest));
    EXPECT_EQ(s.delegate().cancelCount.load(), 1);
    EXPECT_EQ(digestsAtDest(), earlier);
    EXPECT_EQ(difference(expected, snapshot(tree, true)), "");
}

TEST_F(PauseCancelUpload, CancelRightAfterAPauseEndsTheUploadTheSameWay) {
    HoldingFiles files;
    FilesOverride useFiles(&files);
    UploadSession s(dasDeviceFor(*volume));
    ReleaseOnExit releaseOnExit{files};
    ASSERT_NO_FATAL_FAILURE(prepare(s));
    files.holdCopyOf("/big/huge.bin");
    s.upload(dest);
    ASSERT_TRUE(files.waitHeld(120));
    s.c().cancelUploadFiles(3);
    files.release();
    // The copy thread reaches the next file and waits there; the cancel wakes it.
    ASSERT_TRUE(test::waitFor(
        [&] { return s.logged("QVTransfer: transferFile 1: transfer_semaphore"); }, 60));
    const std::set<std::string> whilePaused = filesAtDest();
    s.c().cancelUploadFiles(2);
    ASSERT_TRUE(s.settle());
    EXPECT_EQ(s.delegate().cancelCount.load(), 1);
    EXPECT_FALSE(s.c().isFileTransferCompleted());
    // The big file had been finished before the cancel: it stays, and nothing came after it.
    EXPECT_EQ(filesAtDest(), whilePaused);
    EXPECT_EQ(sha256Of(bigAtDest), expected.at("big/huge.bin").digest);
    const auto state = s.stateFile();
    ASSERT_TRUE(state);
    const Record* record = state->record(volume->uuid());
    ASSERT_TRUE(record);
    EXPECT_TRUE(record->empty());
}

}  // namespace
}  // namespace qvt::uploadtest
