// The state file written by the controller: where, under which key, when, and what it never
// holds. Files are read back with the property-list reader.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <semaphore>
#include <thread>

#include "manual_clock.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/plist_io.h"
#include "support.h"

using namespace qvt;
using namespace qvt::test;
namespace fs = std::filesystem;

namespace {

struct Session {
    explicit Session(const Record& device = nasDevice(), Harness* shared = nullptr)
        : h(shared ? shared : &own) {
        clock = std::make_shared<platform::ManualClock>();
        h->services.clock = clock;
        c = QVTransferPrivate::initWithDevice(device, h->services);
    }
    ~Session() {
        if (c) h->services.dispatch->waitIdle(10);
    }
    std::optional<Value> root() const {
        return platform::readPropertyList(c->transferDataFilePath);
    }
    // A copy of the record under `key`, when the file has one.
    std::optional<Record> record(const std::string& key = "SN-TEST") const {
        const auto r = root();
        if (!r || !r->asRecord() || !r->asRecord()->record(key)) return std::nullopt;
        return *r->asRecord()->record(key);
    }

    Harness own;
    Harness* h;
    std::shared_ptr<platform::ManualClock> clock;
    std::shared_ptr<QVTransferPrivate> c;
};

Record entry(const std::string& path) {
    return Record{
        {"fullFilePath", path},           {"fileName", fs::path(path).filename().string()},
        {"fileImage", Data{9, 9}},        {"filesSelectCheckbox", 1},
        {"numberOfFiles", "2 files"},     {"numberOfFolders", "0 folders"},
        {"fileSize", std::uint64_t{2048}}};
}

Record nasWithoutSerial() {
    Record device = nasDevice();
    Record info = *device.record("deviceInfo");
    info.remove("serialNumber");
    device.set("deviceInfo", info);
    return device;
}

}  // namespace

TEST(StateFile, LivesInTheApplicationSupportFolder) {
    Session s;
    ASSERT_TRUE(s.c);
    EXPECT_EQ(s.c->transferDataFilePath,
              s.h->services.folders.applicationSupport + "/QVTransfer/qvtransfer.plist");
    s.c->saveQVTransferDataToFile();
    EXPECT_TRUE(fs::is_regular_file(s.c->transferDataFilePath));
    // Never in the mount folder.
    EXPECT_FALSE(fs::exists(s.h->services.folders.mountFolder() + "/qvtransfer.plist"));
}

// A large upload's handled-files list is kept on disk; the state file still holds all of it,
// in order, with the other values around it intact, and the list is no longer in the folder
// of the state file by name.
TEST(StateFile, AHandledListTooLongForMemoryIsWrittenWhole) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->selectedDestinationShare.set("/home/u/.QVTransfer/Public/Photos");
    s.c->sourceFilesArray.set(List{entry("/home/u/a")});
    List expected;
    for (int i = 0; i < 20000; ++i) {
        const std::string path = "/home/u/.QVTransfer/Public/Photos/a/folder " +
                                 std::to_string(i / 100) + "/R&D <" + std::to_string(i) + ">.jpg";
        s.c->inProcessSourceFilesArray.append(path);
        expected.push_back(path);
    }
    s.c->saveQVTransferDataToFile();

    const auto root = s.root();
    ASSERT_TRUE(root && root->asRecord());
    const Record* r = root->asRecord()->record("SN-TEST");
    ASSERT_TRUE(r);
    EXPECT_EQ(r->size(), 12u);
    ASSERT_TRUE(r->list("inProcessSourceFilesArray"));
    EXPECT_EQ(*r->list("inProcessSourceFilesArray"), expected);
    EXPECT_EQ(r->string("selectedDestinationShare"), "/home/u/.QVTransfer/Public/Photos");
    ASSERT_TRUE(r->list("sourceFilesPendingArray"));
    EXPECT_EQ(r->list("sourceFilesPendingArray")->size(), 1u);
    ASSERT_TRUE(r->list("failedTransferArray"));
    EXPECT_TRUE(r->list("failedTransferArray")->empty());
    const fs::path folder = fs::path(s.c->transferDataFilePath).parent_path();
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(folder)) names.push_back(e.path().filename());
    EXPECT_EQ(names, std::vector<std::string>{"qvtransfer.plist"});
}

TEST(StateFile, NetworkDeviceRecordUnderTheSerialNumber) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->selectedDestinationShare.set("/home/u/.QVTransfer/Public/Photos");
    s.c->progressStatus.set("Uploading file 2 of 3\nEstimated time remaining: about 1 minute");
    s.c->subProgressStatus.set("");
    s.c->sourceFilesArray.set(List{entry("/home/u/a"), entry("/home/u/b"), entry("/home/u/c")});
    s.c->transferredSourceFilesArray.set(List{entry("/home/u/a")});
    s.c->inProcessSourceFilesArray.set({"/home/u/.QVTransfer/Public/Photos/b/1.jpg"});
    s.c->failedTransferArray.set(List{Record{{"sourceFilePath", "/home/u/b/2.jpg"},
                                             {"destFilePath", "/home/u/.QVTransfer/Public/b/2.jpg"},
                                             {"localizedError", "Permission denied"}}});
    s.c->saveQVTransferDataToFile();

    const auto root = s.root();
    ASSERT_TRUE(root && root->asRecord());
    EXPECT_EQ(root->asRecord()->keys(), std::vector<std::string>{"SN-TEST"});
    const Record* r = root->asRecord()->record("SN-TEST");
    ASSERT_TRUE(r);
    EXPECT_EQ(r->size(), 12u);
    EXPECT_FALSE(r->boolean("isFileTransferCompleted", true));
    EXPECT_FALSE(r->boolean("isFileTransferFailed", true));
    EXPECT_FALSE(r->boolean("isFileTransferCancelled", true));
    EXPECT_FALSE(r->boolean("isFileTransferPaused", true));
    EXPECT_TRUE(r->boolean("isDeviceReachable", false));
    EXPECT_EQ(r->string("deviceType"), "NAS");
    EXPECT_EQ(r->string("selectedDestinationShare"), "/home/u/.QVTransfer/Public/Photos");
    EXPECT_EQ(r->string("progressStatus"),
              "Uploading file 2 of 3\nEstimated time remaining: about 1 minute");
    const List* pending = r->list("sourceFilesPendingArray");
    ASSERT_TRUE(pending);
    ASSERT_EQ(pending->size(), 2u);
    EXPECT_EQ(pending->at(0).asRecord()->string("fullFilePath"), "/home/u/b");
    EXPECT_EQ(pending->at(1).asRecord()->string("fullFilePath"), "/home/u/c");
    EXPECT_EQ(pending->at(0).asRecord()->size(), 6u);
    EXPECT_FALSE(pending->at(0).asRecord()->contains("fileImage"));
    EXPECT_EQ(*pending->at(0).asRecord()->find("fileSize"), Value(std::uint64_t{2048}));
    ASSERT_TRUE(r->list("inProcessSourceFilesArray"));
    EXPECT_EQ(*r->list("inProcessSourceFilesArray"),
              List{"/home/u/.QVTransfer/Public/Photos/b/1.jpg"});
    ASSERT_TRUE(r->list("failedTransferArray"));
    EXPECT_EQ(r->list("failedTransferArray")->size(), 1u);
    EXPECT_EQ(r->list("failedTransferArray")->at(0).asRecord()->string("localizedError"),
              "Permission denied");
}

TEST(StateFile, FlagsAreWrittenAsTheyStand) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().pause(qvt::engine::PauseReason::User);
    s.c->job().pause(qvt::engine::PauseReason::DeviceMissing);
    s.c->job().setFailed(true);
    s.c->saveQVTransferDataToFile();
    const auto saved = s.record();
    const Record* r = saved ? &*saved : nullptr;
    ASSERT_TRUE(r);
    EXPECT_TRUE(r->boolean("isFileTransferPaused"));
    EXPECT_FALSE(r->boolean("isDeviceReachable", true));
    EXPECT_TRUE(r->boolean("isFileTransferFailed"));
}

TEST(StateFile, NoSerialAndNoUuidLeavesTheOldFileUntouched) {
    Session s(nasWithoutSerial());
    ASSERT_TRUE(s.c);
    const std::string old =
        "<?xml version=\"1.0\"?>\n<plist><dict><key>OLD</key><dict/></dict></plist>\n";
    writeFile(s.c->transferDataFilePath, old);
    s.c->saveQVTransferDataToFile();
    EXPECT_EQ(readFile(s.c->transferDataFilePath), old);

    // Nor is a missing file created.
    fs::remove(s.c->transferDataFilePath);
    s.c->saveQVTransferDataToFile();
    EXPECT_FALSE(fs::exists(s.c->transferDataFilePath));
}

TEST(StateFile, LocalDiskBeforeItsUuidIsKnownClearsTheFile) {
    Session s(dasDevice());
    ASSERT_TRUE(s.c);
    // The test device record carries a serial number, so the write is not skipped; with no
    // volume UUID the root has no entry.
    s.c->sourceFilesArray.set(List{entry("/home/u/a")});
    writeFile(s.c->transferDataFilePath,
              platform::toXmlPropertyList(Value(Record{{"OLD", Record{{"x", 1}}}})));
    s.c->saveQVTransferDataToFile();
    const auto root = s.root();
    ASSERT_TRUE(root && root->asRecord());
    EXPECT_TRUE(root->asRecord()->empty());
}

TEST(StateFile, LocalDiskRecordUnderTheVolumeUuid) {
    Session s(dasDevice());
    ASSERT_TRUE(s.c);
    s.c->selectedDASUUID.set("0b7c9d2e-1111-4a4a-9c9c-222233334444");
    s.c->selectedDestinationShare.set("/media/u/Disk/Backup");
    s.c->saveQVTransferDataToFile();
    const auto root = s.root();
    ASSERT_TRUE(root && root->asRecord());
    EXPECT_EQ(root->asRecord()->keys(),
              std::vector<std::string>{"0b7c9d2e-1111-4a4a-9c9c-222233334444"});
    const Record* r = root->asRecord()->record("0b7c9d2e-1111-4a4a-9c9c-222233334444");
    ASSERT_TRUE(r);
    EXPECT_EQ(r->string("deviceType"), "DAS");
    EXPECT_EQ(r->string("selectedDestinationShare"), "/media/u/Disk/Backup");
}

TEST(StateFile, LocalDiskWithoutSerialButWithUuidIsWritten) {
    Record device = dasDevice();
    Record info = *device.record("deviceInfo");
    info.remove("serialNumber");
    device.set("deviceInfo", info);
    Session s(device);
    ASSERT_TRUE(s.c);
    s.c->selectedDASUUID.set("UUID-X");
    s.c->saveQVTransferDataToFile();
    const auto root = s.root();
    ASSERT_TRUE(root && root->asRecord());
    EXPECT_TRUE(root->asRecord()->record("UUID-X"));
}

TEST(StateFile, OtherDeviceTypeWritesAnEmptyRoot) {
    Record device = nasDevice();
    device.set("deviceType", "USB");
    Session s(device);
    ASSERT_TRUE(s.c);
    writeFile(s.c->transferDataFilePath,
              platform::toXmlPropertyList(Value(Record{{"OLD", Record{{"x", 1}}}})));
    s.c->saveQVTransferDataToFile();
    const auto root = s.root();
    ASSERT_TRUE(root && root->asRecord());
    EXPECT_TRUE(root->asRecord()->empty());
}

TEST(StateFile, CancelledUploadLeavesAnEmptyRecordUnderTheKey) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->sourceFilesArray.set(List{entry("/home/u/a")});
    s.c->job().cancel();
    s.c->saveQVTransferDataToFile();
    const auto root = s.root();
    ASSERT_TRUE(root && root->asRecord());
    EXPECT_EQ(root->asRecord()->keys(), std::vector<std::string>{"SN-TEST"});
    const Record* r = root->asRecord()->record("SN-TEST");
    ASSERT_TRUE(r);
    EXPECT_TRUE(r->empty());
}

TEST(StateFile, AllCopiedGivesAnEmptyPendingListAndCompleted) {
    Session s;
    ASSERT_TRUE(s.c);
    const List sources{entry("/home/u/a"), entry("/home/u/b")};
    s.c->sourceFilesArray.set(sources);
    s.c->transferredSourceFilesArray.set(sources);
    s.c->job().complete();
    s.c->saveQVTransferDataToFile();
    const auto saved = s.record();
    const Record* r = saved ? &*saved : nullptr;
    ASSERT_TRUE(r);
    EXPECT_TRUE(r->boolean("isFileTransferCompleted"));
    ASSERT_TRUE(r->list("sourceFilesPendingArray"));
    EXPECT_TRUE(r->list("sourceFilesPendingArray")->empty());
}

TEST(StateFile, ASecondDeviceReplacesTheFirst) {
    Harness shared;
    {
        Session first(nasDevice("127.0.0.1:1", "SN-FIRST"), &shared);
        ASSERT_TRUE(first.c);
        first.c->saveQVTransferDataToFile();
        EXPECT_TRUE(first.record("SN-FIRST"));
    }
    Session second(nasDevice("127.0.0.1:2", "SN-SECOND"), &shared);
    ASSERT_TRUE(second.c);
    second.c->saveQVTransferDataToFile();
    const auto root = second.root();
    ASSERT_TRUE(root && root->asRecord());
    EXPECT_EQ(root->asRecord()->keys(), std::vector<std::string>{"SN-SECOND"});
}

TEST(StateFile, NeverHoldsTheUserNameOrPassword) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->userName.set("username-7f3a");
    s.c->userPassword.set("pw-Zq81!x");
    s.c->sourceFilesArray.set(List{entry("/home/u/a")});
    s.c->saveQVTransferDataToFile();
    s.c->job().pause(qvt::engine::PauseReason::User);
    s.c->saveQVTransferDataToFile();
    const std::string bytes = readFile(s.c->transferDataFilePath);
    ASSERT_FALSE(bytes.empty());
    EXPECT_EQ(bytes.find("username-7f3a"), std::string::npos);
    EXPECT_EQ(bytes.find("pw-Zq81!x"), std::string::npos);
    EXPECT_EQ(bytes.find("userPassword"), std::string::npos);
}

TEST(StateFile, OddSourceEntriesAreWrittenWithoutCrashing) {
    Session s;
    ASSERT_TRUE(s.c);
    Record noName = entry("/home/u/a");
    noName.remove("fileName");
    Record wrongTypes = entry("/home/u/b");
    wrongTypes.set("fileSize", "big");
    wrongTypes.set("filesSelectCheckbox", "yes");
    s.c->sourceFilesArray.set(List{noName, wrongTypes, Value("/just/a/path"), Value(42), Value()});
    s.c->saveQVTransferDataToFile();
    const auto root = s.root();
    ASSERT_TRUE(root && root->asRecord());
    const Record* r = root->asRecord()->record("SN-TEST");
    ASSERT_TRUE(r);
    const List* pending = r->list("sourceFilesPendingArray");
    ASSERT_TRUE(pending);
    ASSERT_EQ(pending->size(), 5u);
    EXPECT_EQ(pending->at(0).asRecord()->keys(), std::vector<std::string>{"filesSelectCheckbox"});
    EXPECT_EQ(pending->at(1).asRecord()->string("fileSize"), "big");
    EXPECT_EQ(pending->at(1).asRecord()->string("filesSelectCheckbox"), "yes");
    for (std::size_t i = 2; i < 5; ++i) EXPECT_TRUE(pending->at(i).asRecord()->empty());
}

TEST(StateFile, LaterChangesOfTheLiveListDoNotReachAWrittenRecord) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->sourceFilesArray.set(List{entry("/home/u/a")});
    s.c->saveQVTransferDataToFile();
    s.c->sourceFilesArray.with([](List& l) { l[0].asRecord()->set("fileName", "renamed"); });
    const auto saved = s.record();
    const Record* r = saved ? &*saved : nullptr;
    EXPECT_EQ(r->list("sourceFilesPendingArray")->at(0).asRecord()->string("fileName"), "a");
}

// The periodic writer, one 3-second sleep at a time.
class PeriodicWriter {
  public:
    explicit PeriodicWriter(Session& s) : s_(s) {
        s.clock->setSleepHook([this](double seconds) {
            // The duration first: a test that sees the new count reads it next.
            lastSleep_ = seconds;
            sleeps_++;
            gate_.try_acquire_for(std::chrono::seconds(60));
        });
    }
    ~PeriodicWriter() {
        if (thread_.joinable()) {
            s_.c->job().complete();
            gate_.release(100);
            thread_.join();
        }
        s_.clock->setSleepHook(nullptr);
    }
    void start() {
        thread_ = std::thread([this, c = s_.c] {
            c->saveQVTransferDataToFileForEachFile();
            finished_ = true;
        });
    }
    bool waitSleeps(int n) {
        return waitFor([&] { return sleeps_.load() >= n; }, 20);
    }
    void next() { gate_.release(); }
    bool waitFinished() {
        return waitFor([&] { return finished_.load(); }, 20);
    }
    int sleeps() const { return sleeps_; }
    double lastSleep() const { return lastSleep_; }

  private:
    Session& s_;
    std::thread thread_;
    std::counting_semaphore<1024> gate_{0};
    std::atomic<int> sleeps_{0};
    std::atomic<double> lastSleep_{0};
    std::atomic<bool> finished_{false};
};

TEST(PeriodicStateFile, WhilePausedTheLoopLooksEveryThreeSecondsAndWritesWhatChanged) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().pause(qvt::engine::PauseReason::User);
    PeriodicWriter w(s);
    s.c->progressStatus.set("status 0");
    w.start();
    for (int pass = 1; pass <= 4; ++pass) {
        ASSERT_TRUE(w.waitSleeps(pass));
        EXPECT_EQ(w.lastSleep(), 3.0);
        const auto saved = s.record();
        const Record* r = saved ? &*saved : nullptr;
        ASSERT_TRUE(r);
        EXPECT_TRUE(r->boolean("isFileTransferPaused"));
        EXPECT_EQ(r->string("progressStatus"), "status " + std::to_string(pass - 1));
        // Removed between writes: the next pass writes it again.
        fs::remove(s.c->transferDataFilePath);
        s.c->progressStatus.set("status " + std::to_string(pass));
        w.next();
    }
}

// A paused upload, or one waiting for its device or for room, may wait for hours: the file is
// written again only when what it would hold has changed, or when it is no longer as written.
TEST(PeriodicStateFile, AnUnchangedRecordIsNotWrittenAgainUnlessTheFileChanged) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->sourceFilesArray.set(List{entry("/src/a"), entry("/src/b")});
    s.c->job().pause(qvt::engine::PauseReason::User);
    const auto identity = [&] { return platform::files().identity(s.c->transferDataFilePath); };
    s.c->saveQVTransferDataToFile();
    const auto first = identity();
    ASSERT_TRUE(first);
    s.c->saveQVTransferDataToFile();
    EXPECT_EQ(identity(), first) << "the same record was written again";

    // A file handled since: written.
    s.c->inProcessSourceFilesArray.append("/dest/a/1");
    s.c->saveQVTransferDataToFile();
    const auto second = identity();
    ASSERT_TRUE(second);
    EXPECT_NE(second, first);
    ASSERT_TRUE(s.record());
    EXPECT_EQ(s.record()->list("inProcessSourceFilesArray")->size(), 1u);

    // Another status line: written.
    s.c->progressStatus.set("Upload paused");
    s.c->saveQVTransferDataToFile();
    const auto third = identity();
    EXPECT_NE(third, second);
    EXPECT_EQ(s.record()->string("progressStatus"), "Upload paused");

    // Removed, or replaced by something else, with nothing changed in the upload: written.
    fs::remove(s.c->transferDataFilePath);
    s.c->saveQVTransferDataToFile();
    ASSERT_TRUE(s.record());
    writeFile(s.c->transferDataFilePath, "not a record");
    s.c->saveQVTransferDataToFile();
    ASSERT_TRUE(s.record());
    EXPECT_EQ(s.record()->string("progressStatus"), "Upload paused");

    // The last write before the process ends always goes to the file.
    const auto beforeExit = identity();
    s.c->saveQVTransferDataToFileForExit();
    EXPECT_NE(identity(), beforeExit);
}

TEST(PeriodicStateFile, StopsWhenTheUploadCompletesOrFails) {
    for (const bool failed : {false, true}) {
        Session s;
        ASSERT_TRUE(s.c);
        PeriodicWriter w(s);
        w.start();
        ASSERT_TRUE(w.waitSleeps(1));
        if (failed)
            s.c->job().setFailed(true);
        else
            s.c->job().complete();
        fs::remove(s.c->transferDataFilePath);
        w.next();
        ASSERT_TRUE(w.waitFinished());
        EXPECT_EQ(w.sleeps(), 1);
        // The end of an upload writes its own final record; the loop adds none.
        EXPECT_FALSE(fs::exists(s.c->transferDataFilePath));
    }
}

TEST(PeriodicStateFile, ACancelDuringTheSleepEndsWithoutAnotherWrite) {
    Session s;
    ASSERT_TRUE(s.c);
    PeriodicWriter w(s);
    w.start();
    ASSERT_TRUE(w.waitSleeps(1));
    s.c->job().cancel();
    fs::remove(s.c->transferDataFilePath);
    w.next();
    ASSERT_TRUE(w.waitFinished());
    EXPECT_EQ(w.sleeps(), 1);
    EXPECT_FALSE(fs::exists(s.c->transferDataFilePath));
}

TEST(PeriodicStateFile, AlreadyCancelledWritesNothing) {
    Session s;
    ASSERT_TRUE(s.c);
    s.c->job().cancel();
    PeriodicWriter w(s);
    w.start();
    ASSERT_TRUE(w.waitFinished());
    EXPECT_EQ(w.sleeps(), 0);
    EXPECT_FALSE(fs::exists(s.c->transferDataFilePath));
}

TEST(PeriodicStateFile, RunsOnAScaledRealClock) {
    Harness h(1000.0);
    auto c = QVTransferPrivate::initWithDevice(nasDevice(), h.services);
    ASSERT_TRUE(c);
    c->job().pause(qvt::engine::PauseReason::User);
    std::atomic<bool> done{false};
    h.services.dispatch->async(platform::QueuePriority::High, [c, &done] {
        c->saveQVTransferDataToFileForEachFile();
        done = true;
    });
    ASSERT_TRUE(waitFor([&] { return fs::exists(c->transferDataFilePath); }));
    // Keep deleting it: it comes back while the upload runs.
    fs::remove(c->transferDataFilePath);
    ASSERT_TRUE(waitFor([&] { return fs::exists(c->transferDataFilePath); }));
    c->job().complete();
    ASSERT_TRUE(waitFor([&] { return done.load(); }));
    EXPECT_TRUE(h.services.dispatch->waitIdle(10));
}

TEST(StateFileConcurrency, WritersAndAChangingListNeverLeaveAHalfWrittenFile) {
    Session s;
    ASSERT_TRUE(s.c);
    std::atomic<bool> stop{false};
    std::atomic<int> writes{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([&] {
            while (!stop) {
                s.c->saveQVTransferDataToFile();
                writes++;
            }
        });
    }
    // The copy thread's part: the lists change under the writers.
    threads.emplace_back([&] {
        int n = 0;
        while (!stop) {
            const Record e = entry("/home/u/f" + std::to_string(n++));
            s.c->sourceFilesArray.with([&](List& l) { l.push_back(e); });
            s.c->transferredSourceFilesArray.with([&](List& l) { l.push_back(e); });
            s.c->inProcessSourceFilesArray.append("/d/f" + std::to_string(n));
            // Bounded, as a real source list is.
            if (n % 50 == 0) {
                s.c->sourceFilesArray.set({});
                s.c->transferredSourceFilesArray.set({});
                s.c->inProcessSourceFilesArray.set({});
            }
        }
    });
    int reads = 0;
    const bool enough = waitFor(
        [&] {
            if (fs::exists(s.c->transferDataFilePath)) {
                const auto root = s.root();
                EXPECT_TRUE(root && root->asRecord() && root->asRecord()->record("SN-TEST"));
                reads++;
            }
            return writes.load() >= 200 && reads >= 50;
        },
        30);
    stop = true;
    for (auto& t : threads) t.join();
    EXPECT_TRUE(enough);
    // No temporary files are left next to the state file.
    int others = 0;
    for (const auto& e : fs::directory_iterator(fs::path(s.c->transferDataFilePath).parent_path()))
        if (e.path().filename() != "qvtransfer.plist") others++;
    EXPECT_EQ(others, 0);
}
