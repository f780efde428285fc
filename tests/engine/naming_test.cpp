// Names at the destination: path arithmetic and the clash-free name of a copied file.
#include <gtest/gtest.h>

#include "engine/duplicate_name.h"
#include "engine/partial_copy.h"
#include "engine/path_names.h"
#include "engine_fixture.h"

using namespace qvt;
using namespace qvt::enginetest;
using namespace qvt::engine;

TEST(PathNames, ComponentsFoldersAndExtensions) {
    EXPECT_EQ(lastPathComponent("/a/b/c.txt"), "c.txt");
    EXPECT_EQ(lastPathComponent("/a/b/"), "b");
    EXPECT_EQ(lastPathComponent("/"), "/");
    EXPECT_EQ(lastPathComponent("name"), "name");
    EXPECT_EQ(deletingLastPathComponent("/a/b"), "/a");
    EXPECT_EQ(deletingLastPathComponent("/a"), "/");
    EXPECT_EQ(deletingLastPathComponent("a"), "");
    EXPECT_EQ(appendingPathComponent("/a", "b"), "/a/b");
    EXPECT_EQ(appendingPathComponent("/a/", "b"), "/a/b");
    EXPECT_EQ(appendingPathComponent("", "b"), "b");
    EXPECT_EQ(pathExtension("/x/report.txt"), "txt");
    EXPECT_EQ(pathExtension("/x/archive.tar.gz"), "gz");
    EXPECT_EQ(pathExtension("/x/.profile"), "");
    EXPECT_EQ(pathExtension("/x.d/name"), "");
    EXPECT_EQ(pathExtension("/x/name."), "");
    EXPECT_EQ(deletingPathExtension("/x/report.txt"), "/x/report");
    EXPECT_EQ(deletingPathExtension("/x/.profile"), "/x/.profile");
    EXPECT_EQ(deletingPathExtension("/x.d/name"), "/x.d/name");
}

TEST(DuplicateName, CandidatesOfTheNamingRule) {
    EXPECT_EQ(duplicateNameCandidate("report", "copy"), "report copy");
    EXPECT_EQ(duplicateNameCandidate("report copy", "copy"), "report copy 2");
    EXPECT_EQ(duplicateNameCandidate("report copy 2", "copy"), "report copy 3");
    EXPECT_EQ(duplicateNameCandidate("track 07", "copy"), "track 07 copy");
    EXPECT_EQ(duplicateNameCandidate("photo 2", "copy"), "photo 2 copy");
    EXPECT_EQ(duplicateNameCandidate("photo copy 9", "copy"), "photo copy 10");
    EXPECT_EQ(duplicateNameCandidate("photo copy 09", "copy"), "photo copy 10");
    // The first two characters are never examined: a short name is never numbered.
    EXPECT_EQ(duplicateNameCandidate("a1", "copy"), "a1 copy");
    EXPECT_EQ(duplicateNameCandidate("12", "copy"), "12 copy");
    EXPECT_EQ(duplicateNameCandidate("x 5", "copy"), "x 5 copy");
    // Digits without a blank before them are part of the name.
    EXPECT_EQ(duplicateNameCandidate("copy2", "copy"), "copy2 copy");
    EXPECT_EQ(duplicateNameCandidate("report copy2", "copy"), "report copy2 copy");
    // The localised word is used everywhere.
    EXPECT_EQ(duplicateNameCandidate("Bericht", "Kopie"), "Bericht Kopie");
    EXPECT_EQ(duplicateNameCandidate("Bericht Kopie", "Kopie"), "Bericht Kopie 2");
    EXPECT_EQ(duplicateNameCandidate("Bericht Kopie 4", "Kopie"), "Bericht Kopie 5");
    EXPECT_EQ(duplicateNameCandidate("Bericht copy 4", "Kopie"), "Bericht copy 4 Kopie");
    // A number that cannot grow any more gets the word instead of wrapping around.
    EXPECT_EQ(duplicateNameCandidate("r copy 99999999999999999999", "copy"),
              "r copy 99999999999999999999 copy");
}

TEST(DuplicateName, ExamplesWithFreeCandidates) {
    Session s;
    ASSERT_TRUE(s.c);
    EXPECT_EQ(s.c->getDuplicateFileName(s.at("report")), "report copy");
    EXPECT_EQ(s.c->getDuplicateFileName(s.at("report copy")), "report copy 2");
    EXPECT_EQ(s.c->getDuplicateFileName(s.at("report copy 2")), "report copy 3");
    EXPECT_EQ(s.c->getDuplicateFileName(s.at("track 07")), "track 07 copy");
    EXPECT_EQ(s.c->getDuplicateFileName(s.at("a1")), "a1 copy");
    EXPECT_EQ(s.c->getDuplicateFileName(s.at("photo 2")), "photo 2 copy");
    EXPECT_EQ(s.c->getDuplicateFileName(s.at("photo copy 9")), "photo copy 10");
}

TEST(DuplicateName, TakenCandidatesAreSkippedIgnoringExtensions) {
    Session s;
    ASSERT_TRUE(s.c);
    // The folder is read once per upload, at the first clash: everything is there before.
    test::writeFile(s.at("report.txt"), "r");
    test::writeFile(s.at("report copy.txt"), "r");
    test::writeFile(s.at("report copy 2.txt"), "r");
    // Another extension takes the name just as well: "report copy.pdf" takes "report copy"
    // for a copied "report.txt".
    test::writeFile(s.at("memo.txt"), "m");
    test::writeFile(s.at("memo copy.pdf"), "m");
    // A folder of that name is taken too.
    fs::create_directories(s.at("album copy"));

    EXPECT_EQ(s.c->getDuplicateFileName(s.at("report")), "report copy 3");
    EXPECT_EQ(s.c->getDuplicateFileName(s.at("memo")), "memo copy 2");
    EXPECT_EQ(s.c->getDuplicateFileName(s.at("album")), "album copy 2");
}

// An upload's hidden copies carry its tag: the names of one upload are told from another's.
TEST(PartialCopyNames, EachUploadsHiddenCopiesCarryItsTag) {
    const std::string a = lastPathComponent(temporaryPathFor("/d/photo.raw", 0x1234abcd));
    const std::string b = lastPathComponent(temporaryPathFor("/d/photo.raw", 0x1234abcd));
    EXPECT_EQ(deletingLastPathComponent(temporaryPathFor("/d/photo.raw", 0x1234abcd)), "/d");
    EXPECT_TRUE(a.starts_with(".qvtransfer-1234abcd")) << a;
    EXPECT_TRUE(a.ends_with(".part")) << a;
    EXPECT_NE(a, b);
    EXPECT_TRUE(isTemporaryName(a));
    EXPECT_TRUE(isTemporaryNameOf(a, 0x1234abcd));
    EXPECT_FALSE(isTemporaryNameOf(a, 0x1234abce));
    EXPECT_FALSE(isTemporaryNameOf(a, 0));
    EXPECT_FALSE(isTemporaryNameOf(".qvtransfer-1234abcd.part", 0x1234abcd));
    EXPECT_FALSE(isTemporaryNameOf("photo.raw", 0x1234abcd));
    EXPECT_EQ(partialCopyTagFrom(partialCopyTagText(0x0000abcd)), 0x0000abcdu);
    EXPECT_NE(newPartialCopyTag(), 0u);
}

// What a crash of one upload left is swept away when it is taken up; another upload's hidden
// copies in the same folders, and a file of the user's named like one, stay.
TEST(PartialCopyNames, OnlyTheUploadsOwnLeftoversAreSwept) {
    test::TempDir dest;
    std::filesystem::create_directories(dest / "Trip/Day 1");
    const std::string own = ".qvtransfer-1234abcd00000001.part";
    const std::string anothers = ".qvtransfer-9999999900000001.part";
    const std::string users = ".qvtransfer-1111111111111111.part";
    for (const std::string& folder : {dest.path(), dest / "Trip", dest / "Trip/Day 1"})
        for (const std::string& name : {own, anothers, users})
            test::writeFile(folder + "/" + name, "part");
    const List pending{Record{{"fullFilePath", "/src/Trip"}, {"numberOfFolders", "1 folder"}}};
    removeLeftoverCopiesOf(pending, dest.path(), 0);  // no tag known: nothing goes
    EXPECT_TRUE(std::filesystem::exists(dest / own));
    removeLeftoverCopiesOf(pending, dest.path(), 0x1234abcd);
    for (const std::string& folder : {dest.path(), dest / "Trip", dest / "Trip/Day 1"}) {
        EXPECT_FALSE(std::filesystem::exists(folder + "/" + own)) << folder;
        EXPECT_TRUE(std::filesystem::exists(folder + "/" + anothers)) << folder;
        EXPECT_TRUE(std::filesystem::exists(folder + "/" + users)) << folder;
    }
}
