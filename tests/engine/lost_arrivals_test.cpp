// A local disk pulled out during an upload loses the files it had not written yet, though they
// had their final names. Once it is back, the files renamed since its last flush that are not
// whole are copied again under their own names; those a flush covered are not looked at.
#include <filesystem>

#include "engine_fixture.h"

namespace qvt::enginetest {
namespace {

// The writes a pulled disk never got: the file is there, cut short.
void loseTheUnwrittenPart(const std::string& path) {
    std::filesystem::resize_file(path, 0);
}

TEST(LostArrivals, FilesTheDiskLostAreCopiedAgainUnderTheirOwnNames) {
    Session s(test::dasDevice());
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    s.c->job().begin();
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    for (const char* n : {"a.jpg", "b.jpg", "c.jpg", "d.jpg"})
        test::writeFile(s.from(std::string("Trip/") + n), std::string("photo ") + n);
    const std::string trip = s.at("Trip");
    auto copies = std::make_shared<std::atomic<int>>(0);
    // The final names in the order the files got them (the folder is read in the disk's order).
    auto renamed = std::make_shared<std::vector<std::string>>();
    QVTransferPrivate* c = s.c.get();
    // After the first file the disk is flushed (the state file's write does it); the disk is
    // pulled during the fourth copy, and the two files renamed since the flush lose their data.
    layer.setHook([&layer, copies, renamed, c](const std::string& op, const std::string&,
                                               const std::string& to) -> std::optional<int> {
        if (op == "rename") renamed->push_back(to);
        if (op != "copy") return std::nullopt;
        const int n = ++*copies;
        if (n == 2) c->saveQVTransferDataToFile();
        if (n != 4) return std::nullopt;
        layer.volumeLost = true;
        EXPECT_EQ(renamed->size(), 3u);
        if (renamed->size() == 3) {
            loseTheUnwrittenPart((*renamed)[1]);
            loseTheUnwrittenPart((*renamed)[2]);
        }
        return EIO;
    });
    s.c->selectedDASUUID.set("8c2e4f60-1a3b-4c5d-9e7f-0a1b2c3d4e5f");

    CopyThread copy(s, s.from("Trip"), trip);
    ASSERT_TRUE(test::waitFor([&] { return s.h.view->called("runModal deviceMissingDialog"); }));
    ASSERT_TRUE(test::waitFor([&] { return s.c->job().pauseWaiters() == 1; }));
    layer.volumeLost = false;
    // The disk is back, and the state file is written before the copy goes on: its flush of
    // the disk back does not vouch for what was lost with it.
    s.c->saveQVTransferDataToFile();
    playRecovery(*s.c);
    ASSERT_TRUE(copy.waitFinished());

    const std::vector<std::string> names = namesIn(trip);
    EXPECT_EQ(names, (std::vector<std::string>{"a.jpg", "b.jpg", "c.jpg", "d.jpg"}));
    for (const std::string& name : names)
        EXPECT_EQ(test::readFile(trip + "/" + name), "photo " + name) << name;
    EXPECT_TRUE(s.c->failedTransferArray.get().empty());
    // Only the two files renamed after the flush were copied again.
    int again = 0;
    for (const auto& line : s.h.log->lines())
        if (line.find("copyAgainWhatTheLossTook: ") != std::string::npos) ++again;
    EXPECT_EQ(again, 2);
}

// A file whose source went away meanwhile cannot be copied again: it is listed as failed, and
// what the disk holds of it stays as it is.
TEST(LostArrivals, AFileLostWithTheDiskWhoseSourceIsGoneIsAFailure) {
    Session s(test::dasDevice());
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    s.c->job().begin();
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    for (const char* n : {"a.jpg", "b.jpg"})
        test::writeFile(s.from(std::string("Trip/") + n), std::string("photo ") + n);
    const std::string trip = s.at("Trip");
    const std::string tripSource = s.from("Trip");
    auto copies = std::make_shared<std::atomic<int>>(0);
    auto renamed = std::make_shared<std::vector<std::string>>();
    layer.setHook([&layer, copies, renamed, tripSource](
                      const std::string& op, const std::string&,
                      const std::string& to) -> std::optional<int> {
        if (op == "rename") renamed->push_back(to);
        if (op != "copy" || ++*copies != 2) return std::nullopt;
        layer.volumeLost = true;
        loseTheUnwrittenPart(renamed->front());
        std::filesystem::remove(tripSource + "/" + fs::path(renamed->front()).filename().string());
        return EIO;
    });

    CopyThread copy(s, tripSource, trip);
    ASSERT_TRUE(test::waitFor([&] { return s.c->job().pauseWaiters() == 1; }));
    layer.volumeLost = false;
    playRecovery(*s.c);
    ASSERT_TRUE(copy.waitFinished());
    ASSERT_FALSE(renamed->empty());
    const std::string lost = renamed->front();
    const std::string name = fs::path(lost).filename().string();
    const List failed = s.c->failedTransferArray.get();
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0].asRecord()->string("sourceFilePath"), tripSource + "/" + name);
    EXPECT_EQ(failed[0].asRecord()->string("destFilePath"), lost);
    EXPECT_EQ(failed[0].asRecord()->string("localizedError"), "The file is no longer there.");
    EXPECT_EQ(fs::file_size(lost), 0u);
    const std::string other = name == "a.jpg" ? "b.jpg" : "a.jpg";
    EXPECT_EQ(test::readFile(trip + "/" + other), "photo " + other);
    EXPECT_EQ(s.c->arrivedFileCount(), 1u);
}

// A file lost with the disk whose source cannot be read any more (its permissions changed
// meanwhile) is listed as failed with the system's reason, not called arrived; the disk being
// there, the rest is looked at as usual.
TEST(LostArrivals, AFileThatCannotBeCopiedAgainIsAFailureAndTheRestIsLookedAt) {
    Session s(test::dasDevice());
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 100;
    s.c->job().begin();
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    for (const char* n : {"a.jpg", "b.jpg", "c.jpg"})
        test::writeFile(s.from(std::string("Trip/") + n), std::string("photo ") + n);
    const std::string trip = s.at("Trip");
    auto copies = std::make_shared<std::atomic<int>>(0);
    auto renamed = std::make_shared<std::vector<std::string>>();
    auto unreadable = std::make_shared<qvt::Guarded<std::string>>();
    layer.setHook(
        [&layer, copies, renamed, unreadable](const std::string& op, const std::string& from,
                                              const std::string& to) -> std::optional<int> {
            if (op == "rename") renamed->push_back(to);
            if (op != "copy") return std::nullopt;
            if (from == unreadable->get()) return EACCES;
            if (++*copies != 3) return std::nullopt;
            // The first two files lose their data with the disk; the first one's source is
            // unreadable from now on.
            layer.volumeLost = true;
            loseTheUnwrittenPart((*renamed)[0]);
            loseTheUnwrittenPart((*renamed)[1]);
            unreadable->set(from.substr(0, from.rfind('/') + 1) +
                            fs::path((*renamed)[0]).filename().string());
            return EIO;
        });

    CopyThread copy(s, s.from("Trip"), trip);
    ASSERT_TRUE(test::waitFor([&] { return s.c->job().pauseWaiters() == 1; }));
    layer.volumeLost = false;
    playRecovery(*s.c);
    ASSERT_TRUE(copy.waitFinished());
    ASSERT_EQ(renamed->size(), 3u);
    const std::string lost = (*renamed)[0];
    const List failed = s.c->failedTransferArray.get();
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0].asRecord()->string("sourceFilePath"), unreadable->get());
    EXPECT_EQ(failed[0].asRecord()->string("destFilePath"), lost);
    EXPECT_EQ(failed[0].asRecord()->string("localizedError"), platform::errorDescription(EACCES));
    EXPECT_EQ(fs::file_size(lost), 0u) << "what the disk holds of it stays";
    for (std::size_t i = 1; i < 3; ++i) {
        const std::string name = fs::path((*renamed)[i]).filename().string();
        EXPECT_EQ(test::readFile((*renamed)[i]), "photo " + name);
    }
    EXPECT_EQ(s.c->arrivedFileCount(), 2u);
    EXPECT_EQ(namesIn(trip).size(), 3u) << "no hidden copy is left";
}

// Small files can arrive by the thousand between two writes of the state file: the list of
// those not flushed yet stays short, the copy flushing the disk itself when it grows long.
TEST(LostArrivals, TheListOfFilesNotFlushedYetStaysShort) {
    Session s(test::dasDevice());
    ASSERT_TRUE(s.c);
    s.c->job().begin();
    constexpr int kFiles = 5000;
    s.c->job().numberOfFilesCountForTransfer = kFiles;
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    auto flushes = std::make_shared<std::atomic<int>>(0);
    auto longest = std::make_shared<std::atomic<std::size_t>>(0);
    QVTransferPrivate* c = s.c.get();
    layer.setHook([flushes, longest, c](const std::string& op, const std::string&,
                                        const std::string&) -> std::optional<int> {
        if (op == "flush") ++*flushes;
        if (op == "copy") {
            const std::size_t listed = c->job().arrivalsSinceFlush.size();
            if (listed > longest->load()) *longest = listed;
        }
        return std::nullopt;
    });
    for (int i = 0; i < kFiles; ++i)
        test::writeFile(s.from("Many/" + std::to_string(i) + ".txt"), "x");
    CopyThread copy(s, s.from("Many"), s.at("Many"));
    ASSERT_TRUE(copy.waitFinished(120));
    EXPECT_EQ(namesIn(s.at("Many")).size(), static_cast<std::size_t>(kFiles));
    EXPECT_EQ(flushes->load(), 1);
    EXPECT_LT(longest->load(), 4096u);
    EXPECT_LT(s.c->job().arrivalsSinceFlush.size(), 4096u);
}

}  // namespace
}  // namespace qvt::enginetest
