// The source list through the controller: drops, the chooser, default folders, duplicates,
// ticking, deleting, the Next button and the system-file check of the move option.
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "session/resources.h"
#include "source_fixture.h"

namespace fs = std::filesystem;
using namespace qvt;
using namespace qvt::test;

class SourceList : public SourceFixture {};

TEST_F(SourceList, DroppingTheSameFileTwiceAddsOneRow) {
    writeFile(home + "/a.txt", bytesOf(10));
    drop({home + "/a.txt"});
    drop({home + "/a.txt"});
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(paths(), std::vector<std::string>{home + "/a.txt"});
    expectTotals(1, 0, 10);
    // Within one drop too.
    drop({home + "/a.txt", home + "/a.txt"});
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(rows().size(), 1u);
}

TEST_F(SourceList, EachOfManyRowsAddedInSeveralDropsGetsItsOwnCount) {
    // Each file a different size, so that a count written into another row shows.
    std::vector<std::string> all;
    for (int i = 1; i <= 600; ++i) {
        all.push_back(home + "/many/f" + std::to_string(i));
        writeFile(all.back(), bytesOf(static_cast<std::size_t>(i)));
    }
    writeFile(home + "/many/folder/inner", bytesOf(1000));
    // The drops overlap (the second and third repeat rows of the first) and one holds a
    // folder, so the counts end out of the rows' order too.
    drop(std::vector<std::string>(all.begin(), all.begin() + 300));
    std::vector<std::string> second(all.begin() + 250, all.begin() + 450);
    second.insert(second.begin() + 20, home + "/many/folder");
    drop(second);
    drop(std::vector<std::string>(all.begin() + 100, all.end()));
    ASSERT_TRUE(allCounted());

    std::vector<std::string> expected(all.begin(), all.begin() + 300);
    expected.push_back(home + "/many/folder");
    expected.insert(expected.end(), all.begin() + 300, all.end());
    EXPECT_EQ(paths(), expected);
    for (const Record& row : rows()) {
        const std::string path = row.string("fullFilePath");
        const std::uint64_t size =
            path == home + "/many/folder" ? 1000 : std::stoull(path.substr(path.rfind("/f") + 2));
        EXPECT_EQ(row.find("fileSize")->toUInt64(), size) << path;
    }
    expectTotals(601, 1, 600 * 601 / 2 + 1000);
}

TEST_F(SourceList, AFolderAndAFileInsideItAreTwoRowsCountedTwice) {
    writeFile(home + "/f/inner.txt", bytesOf(100));
    drop({home + "/f"});
    ASSERT_TRUE(allCounted());
    drop({home + "/f/inner.txt"});
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(paths(), (std::vector<std::string>{home + "/f", home + "/f/inner.txt"}));
    expectTotals(2, 1, 200);
    EXPECT_EQ(summary(), "1 folder, 2 files: 200.00bytes");
}

TEST_F(SourceList, DroppedRowsAreCheckedAndSetTheZeroStateFlag) {
    controller->filesAddedAtZeroState = false;
    writeFile(home + "/x", bytesOf(1));
    drop({home + "/x", home + "/missing"});
    ASSERT_EQ(rows().size(), 2u);
    EXPECT_TRUE(controller->filesAddedAtZeroState.load());
    for (const Record& r : rows()) EXPECT_EQ(r.integer("filesSelectCheckbox"), 1);
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(nextEnabled(), 1);
}

TEST_F(SourceList, DefaultFoldersAreListedEvenWhenMissing) {
    const std::vector<std::string> listed = resourcePathList("DefaultsSourceFilesList");
    ASSERT_FALSE(listed.empty());
    writeFile(home + "/" + listed[0] + "/one.txt", bytesOf(5));
    controller->dispatcher().detach([c = controller] { c->populateDefaultSourceFilesList(); });
    ASSERT_TRUE(waitFor([&] { return rows().size() == listed.size(); }));
    ASSERT_TRUE(allCounted());
    std::vector<std::string> expected;
    for (const std::string& entry : listed) expected.push_back(home + "/" + entry);
    EXPECT_EQ(paths(), expected);
    const std::vector<Record> all = rows();
    EXPECT_EQ(all[0].string("numberOfFiles"), "1 file");
    EXPECT_EQ(all[0].string("numberOfFolders"), "1 folder");
    for (std::size_t i = 1; i < all.size(); ++i) {
        EXPECT_FALSE(fs::exists(all[i].string("fullFilePath")));
        EXPECT_EQ(all[i].string("numberOfFiles"), "0 file");
        EXPECT_EQ(all[i].string("numberOfFolders"), "0 folder");
    }
    expectTotals(1, 1, 5);
    // The default list does not touch the Next button.
    EXPECT_EQ(nextEnabled(), -1);
}

TEST_F(SourceList, DefaultFolderEqualToADroppedRowIsStillAdded) {
    const std::vector<std::string> listed = resourcePathList("DefaultsSourceFilesList");
    ASSERT_FALSE(listed.empty());
    const std::string first = home + "/" + listed[0];
    fs::create_directories(first);
    drop({first});
    ASSERT_TRUE(allCounted());
    controller->dispatcher().detach([c = controller] { c->populateDefaultSourceFilesList(); });
    ASSERT_TRUE(waitFor([&] { return rows().size() == listed.size() + 1; }));
    ASSERT_TRUE(allCounted());
    const std::vector<std::string> all = paths();
    EXPECT_EQ(std::count(all.begin(), all.end(), first), 2);
}

TEST_F(SourceList, TheDefaultListHoldsTheUsualUserFolders) {
    const std::vector<std::string> listed = resourcePathList("DefaultsSourceFilesList");
    EXPECT_EQ(listed, (std::vector<std::string>{"Desktop", "Documents", "Downloads", "Music",
                                                "Pictures", "Videos"}));
}

TEST_F(SourceList, NextFollowsTheTicks) {
    writeFile(home + "/1", bytesOf(1));
    writeFile(home + "/2", bytesOf(2));
    drop({home + "/1", home + "/2"});
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(nextEnabled(), 1);
    setTicked(0, false);
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(nextEnabled(), 1);
    setTicked(1, false);
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(nextEnabled(), 0);
    setTicked(1, true);
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(nextEnabled(), 1);
}

TEST_F(SourceList, DeletingATickedRowTakesItOff) {
    writeFile(home + "/a", bytesOf(10));
    writeFile(home + "/b", bytesOf(20));
    drop({home + "/a", home + "/b"});
    ASSERT_TRUE(allCounted());
    controller->processDeleteFiles(0);
    ASSERT_TRUE(waitFor([&] { return rows().size() == 1; }));
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(paths(), std::vector<std::string>{home + "/b"});
    expectTotals(1, 0, 20);
    EXPECT_EQ(summary(), "0 folder, 1 file: 20.00bytes");
    controller->processDeleteFiles(0);
    ASSERT_TRUE(waitFor([&] { return rows().empty(); }));
    ASSERT_TRUE(allCounted());
    expectTotals(0, 0, 0);
    EXPECT_EQ(nextEnabled(), 0);
}

TEST_F(SourceList, DeletingAnUntickedRowSubtractsItAgain) {
    writeFile(home + "/A/one", bytesOf(10));
    writeFile(home + "/B/x", bytesOf(100));
    writeFile(home + "/B/y", bytesOf(100));
    writeFile(home + "/B/z", bytesOf(100));
    drop({home + "/A", home + "/B"});
    ASSERT_TRUE(allCounted());
    expectTotals(4, 2, 310);
    setTicked(0, false);
    ASSERT_TRUE(allCounted());
    expectTotals(3, 1, 300);
    controller->processDeleteFiles(0);
    ASSERT_TRUE(waitFor([&] { return rows().size() == 1; }));
    ASSERT_TRUE(allCounted());
    // Taken off a second time although it was no longer in the totals.
    expectTotals(2, 0, 290);
    EXPECT_EQ(summary(), "0 folder, 2 files: 290.00bytes");
}

TEST_F(SourceList, DeleteOfARowThatIsGoneDoesNothing) {
    controller->deleteSizeOfFiles(Record{{"fileIndex", 5}});
    controller->deleteSizeOfFiles(Record{{"fileIndex", -1}});
    controller->deleteSizeOfFiles(Record{});
    EXPECT_TRUE(rows().empty());
    expectTotals(0, 0, 0);
}

TEST_F(SourceList, ChooserAddsWhatWasChosenOnlyOnOK) {
    writeFile(home + "/picked/file", bytesOf(7));
    writeFile(home + "/loose", bytesOf(3));
    int runs = 0;
    controller->sourceFilesOpenPanel = [&](std::vector<std::string>& chosen) {
        ++runs;
        chosen = {home + "/picked", home + "/loose"};
        return 0;  // cancelled
    };
    controller->chooseSourceFiles();
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(rows().empty());

    controller->sourceFilesOpenPanel = [&](std::vector<std::string>& chosen) {
        ++runs;
        chosen = {home + "/picked", home + "/loose", home + "/picked"};
        return 1;
    };
    controller->chooseSourceFiles();
    ASSERT_TRUE(waitFor([&] { return rows().size() == 2; }));
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(paths(), (std::vector<std::string>{home + "/picked", home + "/loose"}));
    EXPECT_EQ(rows()[0].find("fileSize")->toUInt64(), 7u);
    expectTotals(2, 1, 10);
    EXPECT_EQ(nextEnabled(), 1);
}

TEST_F(SourceList, OddPathsAreListedAndCounted) {
    const std::vector<std::string> names = {"with blanks  ", "Grüße 日本", "new\nline", " lead"};
    std::vector<std::string> dropped;
    for (const std::string& n : names) {
        writeFile(home + "/" + n + "/inner " + n, bytesOf(4));
        dropped.push_back(home + "/" + n);
    }
    drop(dropped);
    ASSERT_TRUE(allCounted());
    const std::vector<Record> all = rows();
    ASSERT_EQ(all.size(), names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(all[i].string("fileName"), names[i]);
        EXPECT_EQ(all[i].string("numberOfFiles"), "1 file");
        EXPECT_EQ(all[i].string("numberOfFolders"), "1 folder");
    }
    expectTotals(4, 4, 16);
}

TEST_F(SourceList, ToolTipIsThePathInThePathColumnOnly) {
    drop({home + "/t"});
    EXPECT_EQ(controller->sourceFilesToolTip("fullPathColumn", 0), home + "/t");
    EXPECT_EQ(controller->sourceFilesToolTip("numberOfFiles", 0), "");
    EXPECT_EQ(controller->sourceFilesToolTip("fullPathColumn", 3), "");
    ASSERT_TRUE(allCounted());
}

TEST_F(SourceList, SystemFilesAreMatchedByFragmentOncePerFragment) {
    const std::vector<std::string> fragments = resourcePathList("ExcludeSystemFilesList");
    ASSERT_FALSE(fragments.empty());
    const std::string config = home + "/.config/app/settings.ini";
    const std::string library = home + "/Library/Thing";
    const std::string lookalike = home + "/Documents/.configs-old";  // merely contains "/.config"
    const std::string both = "/etc/skel/.config";                    // two fragments
    const std::string ordinary = home + "/Documents/report.txt";
    drop({config, library, lookalike, both, ordinary});
    // Unticked rows are checked too.
    setTicked(1, false);
    ASSERT_TRUE(allCounted());

    controller->buildExcludeSourceFilesArray();
    const std::vector<std::string> list = controller->excludeSystemFilesList.get();
    ASSERT_EQ(list.size(), fragments.size() + 1);
    EXPECT_EQ(list.back(), home + "/Library");
    const std::vector<std::string> excluded = controller->excludeSourceFilesArray.get();
    auto times = [&](const std::string& p) {
        return std::count(excluded.begin(), excluded.end(), p);
    };
    EXPECT_EQ(times(config), 1);
    EXPECT_EQ(times(library), 1);
    EXPECT_EQ(times(lookalike), 1);
    EXPECT_EQ(times(both), 2);
    EXPECT_EQ(times(ordinary), 0);

    // Built afresh every time.
    controller->buildExcludeSourceFilesArray();
    EXPECT_EQ(controller->excludeSourceFilesArray.get(), excluded);
}

TEST_F(SourceList, OrdinaryUserFilesAreNotSystemFiles) {
    const std::vector<std::string> ordinary = {
        home + "/Documents/letters/etc.txt",   home + "/Music/usr-mix.mp3",
        home + "/Pictures/varia/2024/x.jpg",   home + "/Projects/app/bin/tool",
        home + "/Projects/app/lib/util.cpp",   home + "/Videos/system/clip.mp4",
        home + "/Desktop/config/notes.md",     home + "/Downloads/local/setup.tar",
        home + "/Documents/profile photo.png", home + "/dev/project/main.c"};
    drop(ordinary);
    ASSERT_TRUE(allCounted());
    controller->buildExcludeSourceFilesArray();
    EXPECT_TRUE(controller->excludeSourceFilesArray.get().empty());

    const std::vector<std::string> system = {home + "/.ssh/id_ed25519",
                                             home + "/.gnupg/pubring.kbx",
                                             home + "/.local/share/keyrings/login.keyring",
                                             home + "/.bashrc",
                                             "/etc/passwd",
                                             "/usr/bin/env",
                                             "/var/lib/dpkg/status",
                                             "/boot/vmlinuz"};
    drop(system);
    ASSERT_TRUE(allCounted());
    controller->buildExcludeSourceFilesArray();
    const std::vector<std::string> excluded = controller->excludeSourceFilesArray.get();
    for (const std::string& p : system)
        EXPECT_GE(std::count(excluded.begin(), excluded.end(), p), 1) << p;
}

TEST_F(SourceList, NamedPipeIsListedAndCountedWithoutReadingIt) {
    ASSERT_EQ(::mkfifo((home + "/pipe").c_str(), 0600), 0);
    // Nothing opens the pipe: with no writer, a read would never return.
    drop({home + "/pipe"});
    ASSERT_TRUE(allCounted());
    const Record row = rows().at(0);
    EXPECT_EQ(row.string("numberOfFiles"), "1 file");
    EXPECT_EQ(row.string("numberOfFolders"), "0 folder");
    EXPECT_EQ(summary(), "0 folder, 1 file: 0.00bytes");
}
