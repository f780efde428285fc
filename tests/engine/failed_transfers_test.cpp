// The failed-files window and the completion links: the list in its two forms, retry and
// dismiss, and the uploaded files handed to the desktop.
#include <gtest/gtest.h>

#include <cerrno>
#include <mutex>
#include <set>

#include "engine_fixture.h"
#include "keychain_fake.h"
#include "platform/desktop_open.h"

using namespace qvt;
using namespace qvt::enginetest;

namespace {

// An upload of a.txt, b.txt and c.txt whose copies of the names in `failing` fail with EACCES
// (a failure that is not retried), run to its end.
struct FailingUpload {
    FailingUpload()
        : s(test::nasDevice(), 1000, nullptr,
            [this](Services& services) {
                services.openUrl = [this](const std::string& url) {
                    std::lock_guard lock(mutex);
                    opened.push_back(url);
                    return desktopOpens;
                };
            }),
          scoped(s, &layer) {}

    void run(std::set<std::string> failingNames) {
        failing = std::move(failingNames);
        s.c->localeSHOW_DETAILS_btn = "Show Details";
        s.c->localeHIDE_DETAILS_btn = "Hide Details";
        layer.setHook([this](const std::string& op, const std::string& from,
                             const std::string&) -> std::optional<int> {
            std::lock_guard lock(mutex);
            if (op == "copy" && failing.count(fs::path(from).filename().string()) != 0)
                return EACCES;
            return std::nullopt;
        });
        for (const char* n : {"a.txt", "b.txt", "c.txt"}) test::writeFile(s.from(n), n);
        s.setSources({s.from("a.txt"), s.from("b.txt"), s.from("c.txt")});
        s.c->job().numberOfFilesCountForTransfer = 3;
        s.c->totalSourceFilesSize = 15;
        s.h.view->selectedFolder = s.dst;
        s.c->uploadFiles();
        ASSERT_TRUE(test::waitFor([&] { return s.c->isFileTransferCompleted(); }));
        ASSERT_TRUE(s.settle());
    }
    void stopFailing(const std::string& name) {
        std::lock_guard lock(mutex);
        failing.erase(name);
    }
    std::vector<std::string> failedNames() const {
        std::vector<std::string> names;
        for (const Value& v : s.c->failedTransferArray.get())
            names.push_back(fs::path(v.asRecord()->string("sourceFilePath")).filename());
        return names;
    }

    keychain::ScopedBackend scopedKeychain{std::make_shared<keychain::FakeKeychain>()};
    std::mutex mutex;
    std::set<std::string> failing;
    std::vector<std::string> opened;
    // Whether the desktop has a program that opens what it is handed.
    bool desktopOpens = true;
    Session s;
    FaultyFiles layer;
    ScopedFiles scoped;
};

std::string controlText(FailingUpload& u, const std::string& control) {
    std::lock_guard lock(u.s.h.view->mutex);
    return u.s.h.view->texts[control];
}

int controlTag(FailingUpload& u, const std::string& control) {
    std::lock_guard lock(u.s.h.view->mutex);
    return u.s.h.view->tags[control];
}

TEST(FailedTransfers, ViewNowBringsUpTheListWithItsHeading) {
    FailingUpload u;
    ASSERT_TRUE(u.s.c);
    u.run({"a.txt", "c.txt"});
    ASSERT_TRUE(u.s.c->isFileTransferFailed());

    u.s.c->viewTransferErrors();
    EXPECT_TRUE(u.s.h.view->called("showErrorWindow"));
    const FailedList list = u.s.h.view->failedList;
    EXPECT_EQ(list.heading, "2 upload errors");
    ASSERT_EQ(list.rows.size(), 2u);
    EXPECT_EQ(list.rows[0].fileName, "a.txt");
    EXPECT_EQ(list.rows[1].fileName, "c.txt");
    EXPECT_EQ(list.rows[0].fileImage, "warningImage.png");
    EXPECT_EQ(list.rowHeight, 37);
}

TEST(FailedTransfers, TheDetailsSwitchRebuildsTheRowsEachTime) {
    FailingUpload u;
    ASSERT_TRUE(u.s.c);
    u.run({"b.txt"});
    const std::string reason =
        u.s.c->failedTransferArray.get()[0].asRecord()->string("localizedError");
    ASSERT_FALSE(reason.empty());

    u.s.c->showHideTransferErrors();
    FailedList list = u.s.h.view->failedList;
    ASSERT_EQ(list.rows.size(), 1u);
    EXPECT_EQ(list.rows[0].fileName, "b.txt\n" + reason);
    EXPECT_EQ(list.rowHeight, 50);
    EXPECT_EQ(controlText(u, "showHideDetailsButton"), "Hide Details");
    EXPECT_EQ(controlTag(u, "showHideDetailsButton"), 1);

    u.s.c->showHideTransferErrors();
    list = u.s.h.view->failedList;
    ASSERT_EQ(list.rows.size(), 1u);
    EXPECT_EQ(list.rows[0].fileName, "b.txt");
    EXPECT_EQ(list.rowHeight, 37);
    EXPECT_EQ(controlText(u, "showHideDetailsButton"), "Show Details");
    EXPECT_EQ(controlTag(u, "showHideDetailsButton"), 0);
}

TEST(FailedTransfers, RetryCopiesTheFailedItemsAgainAndListsOnlyThoseThatFailAgain) {
    FailingUpload u;
    ASSERT_TRUE(u.s.c);
    u.run({"a.txt", "b.txt"});
    ASSERT_EQ(u.failedNames(), (std::vector<std::string>{"a.txt", "b.txt"}));
    EXPECT_FALSE(fs::exists(u.s.at("a.txt")));
    EXPECT_EQ(u.s.c->arrivedFileCount(), 1u);

    // A button with another tag does nothing.
    u.s.c->retryOrDismissTransfer(7);
    EXPECT_TRUE(u.s.c->isFileTransferCompleted());
    EXPECT_EQ(u.failedNames().size(), 2u);

    u.stopFailing("a.txt");
    u.s.c->retryOrDismissTransfer(2);
    // The retry counts its own items, from 1.
    EXPECT_EQ(u.s.c->job().numberOfFilesCountForTransfer.load(), 2);
    ASSERT_TRUE(test::waitFor([&] { return u.s.c->isFileTransferCompleted(); }));
    ASSERT_TRUE(u.s.settle());
    EXPECT_TRUE(u.s.h.view->called("endModal errorViewWindow"));
    EXPECT_EQ(test::readFile(u.s.at("a.txt")), "a.txt");
    EXPECT_FALSE(fs::exists(u.s.at("b.txt")));
    EXPECT_EQ(u.failedNames(), std::vector<std::string>{"b.txt"});
    EXPECT_TRUE(u.s.c->isFileTransferFailed());
    EXPECT_EQ(u.s.c->job().progressValue.load(), 2);
    // The end screen again: its list holds the one failure left.
    ASSERT_EQ(u.s.h.view->failedList.rows.size(), 1u);
    EXPECT_EQ(u.s.h.view->failedList.rows[0].fileName, "b.txt");
    EXPECT_EQ(u.s.delegate->cancelCount.load(), 0);
    // Nothing is left under a hidden name.
    for (const auto& e : fs::directory_iterator(u.s.dst))
        EXPECT_NE(e.path().filename().string().front(), '.') << e.path();
}

// Removing the folder an upload writes into (to make room, say) fails the files still to go
// there with a reason that names the folder; the system's "No such file or directory" read as
// if the sources were gone. A retry makes the folder again and brings them.
TEST(FailedTransfers, FilesWhoseDestinationFolderWasRemovedSaySoAndARetryBringsThem) {
    keychain::ScopedBackend scopedKeychain{std::make_shared<keychain::FakeKeychain>()};
    Session s(test::nasDevice(), 1000);
    ASSERT_TRUE(s.c);
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    for (const char* n : {"a.txt", "b.txt", "c.txt"}) test::writeFile(s.from("album/") + n, n);
    // The folder goes just before the second file's copy, whichever file that is.
    std::atomic<int> copies{0};
    std::atomic<bool> removed{false};
    layer.setHook(
        [&](const std::string& op, const std::string&, const std::string&) -> std::optional<int> {
            if (op == "copy" && ++copies == 2) removed = fs::remove_all(s.at("album")) == 2;
            return std::nullopt;
        });
    s.setSources({s.from("album")});
    s.c->job().numberOfFilesCountForTransfer = 4;
    s.c->totalSourceFilesSize = 15;
    s.h.view->selectedFolder = s.dst;
    s.c->uploadFiles();
    ASSERT_TRUE(test::waitFor([&] { return s.c->isFileTransferCompleted(); }));
    ASSERT_TRUE(s.settle());

    ASSERT_TRUE(removed);
    const List failures = s.c->failedTransferArray.get();
    ASSERT_EQ(failures.size(), 2u);
    for (const Value& v : failures)
        EXPECT_EQ(v.asRecord()->string("localizedError"),
                  "The destination folder \u201calbum\u201d is no longer there.");
    // The sources are where they were.
    std::vector<std::string> failed;
    for (const Value& v : failures) {
        const std::string source = v.asRecord()->string("sourceFilePath");
        failed.push_back(fs::path(source).filename());
        EXPECT_EQ(test::readFile(source), failed.back());
    }

    s.c->retryOrDismissTransfer(2);
    ASSERT_TRUE(test::waitFor([&] { return s.c->isFileTransferCompleted(); }));
    ASSERT_TRUE(s.settle());
    EXPECT_TRUE(s.c->failedTransferArray.get().empty());
    for (const std::string& name : failed) EXPECT_EQ(test::readFile(s.at("album/" + name)), name);
    // The folder holds those two and nothing under a hidden name.
    EXPECT_EQ(std::distance(fs::directory_iterator(s.at("album")), fs::directory_iterator()), 2);
}

// On a local disk the folder chosen as the destination may itself be removed while the disk
// stays: the upload does not wait for a disk that never went away; the files still to go fail,
// saying why.
TEST(FailedTransfers, TheChosenFolderRemovedFromADiskThatStaysIsNotALostDisk) {
    Session s(test::dasDevice());
    ASSERT_TRUE(s.c);
    FaultyFiles layer;
    ScopedFiles scoped(s, &layer);
    for (const char* n : {"a.txt", "b.txt", "c.txt"}) test::writeFile(s.from("album/") + n, n);
    fs::create_directories(s.at("Uploads"));
    std::atomic<int> copies{0};
    std::atomic<bool> removed{false};
    layer.setHook(
        [&](const std::string& op, const std::string&, const std::string&) -> std::optional<int> {
            if (op == "copy" && ++copies == 2) removed = fs::remove_all(s.at("Uploads")) == 3;
            return std::nullopt;
        });
    s.setSources({s.from("album")});
    s.c->job().numberOfFilesCountForTransfer = 4;
    s.c->totalSourceFilesSize = 15;
    s.h.view->selectedFolder = s.at("Uploads");
    s.c->uploadFiles();
    ASSERT_TRUE(test::waitFor([&] { return s.c->isFileTransferCompleted(); }));
    ASSERT_TRUE(s.settle());

    ASSERT_TRUE(removed);
    EXPECT_FALSE(s.c->reconnectingDevice());
    // It never waited for the disk.
    EXPECT_EQ(s.c->job().deviceLosses.load(), 0u);
    const List failures = s.c->failedTransferArray.get();
    ASSERT_EQ(failures.size(), 2u);
    for (const Value& v : failures)
        EXPECT_EQ(v.asRecord()->string("localizedError"),
                  "The destination folder \u201calbum\u201d is no longer there.");
    // Nothing is made again unasked.
    EXPECT_FALSE(fs::exists(s.at("Uploads")));
}

TEST(FailedTransfers, DismissEndsTheSessionOnce) {
    FailingUpload u;
    ASSERT_TRUE(u.s.c);
    u.run({"c.txt"});
    u.s.c->viewTransferErrors();
    u.s.c->retryOrDismissTransfer(1);
    ASSERT_TRUE(u.s.settle());
    EXPECT_TRUE(u.s.c->uploadCancelled());
    EXPECT_TRUE(u.s.c->failedTransferArray.get().empty());
    EXPECT_FALSE(u.s.c->isFileTransferFailed());
    EXPECT_EQ(u.s.delegate->cancelCount.load(), 1);
    EXPECT_TRUE(u.s.h.view->called("endModal errorViewWindow"));
    // Nothing is retried after a dismissal.
    u.s.c->retryOrDismissTransfer(2);
    ASSERT_TRUE(u.s.settle());
    EXPECT_FALSE(fs::exists(u.s.at("c.txt")));
}

TEST(UploadedFiles, TheDestinationFolderIsHandedToTheDesktop) {
    FailingUpload u;
    ASSERT_TRUE(u.s.c);
    u.run({});
    EXPECT_FALSE(u.s.c->isFileTransferFailed());
    u.s.c->showUploadedFiles();
    std::lock_guard lock(u.mutex);
    ASSERT_EQ(u.opened.size(), 1u);
    EXPECT_EQ(u.opened[0], "file://" + u.s.dst);
    std::lock_guard viewLock(u.s.h.view->mutex);
    EXPECT_TRUE(u.s.h.view->notices.empty());
}

// A desktop with no program for the folder's address: the user is told where the files are.
TEST(UploadedFiles, ADesktopThatOpensNothingLeadsToWhereTheFilesAre) {
    FailingUpload u;
    ASSERT_TRUE(u.s.c);
    u.run({});
    {
        std::lock_guard lock(u.mutex);
        u.desktopOpens = false;
    }
    u.s.c->showUploadedFiles();
    ASSERT_TRUE(u.s.settle());
    std::lock_guard viewLock(u.s.h.view->mutex);
    ASSERT_EQ(u.s.h.view->notices.size(), 1u);
    EXPECT_EQ(u.s.h.view->notices[0],
              "No program on this computer opened the folder that holds the uploaded files. You "
              "find them at " +
                  u.s.dst + ".");
}

TEST(UploadedFiles, AnAddressIsShownAsAPersonReadsIt) {
    EXPECT_EQ(platform::folderUrlForPeople("file:///home/anna/Photo%20Trip"),
              "/home/anna/Photo Trip");
    EXPECT_EQ(platform::folderUrlForPeople("smb://anna@192.0.2.10/Family/Photo%20Trip"),
              "smb://192.0.2.10/Family/Photo Trip");
    // Not an address Qt reads: as it is, but for a user name.
    EXPECT_EQ(platform::folderUrlForPeople("smb://[bad"), "smb://[bad");
    EXPECT_EQ(platform::folderUrlForPeople("smb://anna:secret@[bad/Family"), "smb://[bad/Family");
}

}  // namespace
