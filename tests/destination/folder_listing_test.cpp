// Reading folders for the destination tree: visible entries, the sub-folder probe through the
// percent-escaped address, display names and the numeric-aware order.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "destination/folder_listing.h"
#include "destination/folder_node.h"
#include "support/support.h"

// Qt after the product headers: its "emit" keyword would clash with theirs.
#include <QLocale>

using namespace qvt;
using namespace qvt::destination;
using qvt::test::TempDir;
namespace fs = std::filesystem;

namespace {

std::vector<std::string> entryNames(const std::vector<FolderEntry>& entries) {
    std::vector<std::string> out;
    for (const auto& e : entries) out.push_back(e.name);
    return out;
}

}  // namespace

TEST(FolderListing, VisibleEntriesLeaveHiddenOnesOutAndTellFoldersFromFiles) {
    TempDir t;
    fs::create_directories(t / "Folder");
    fs::create_directories(t / ".hidden");
    test::writeFile(t / "file.txt", "x");
    test::writeFile(t / ".dotfile", "x");
    fs::create_directory_symlink(t / "Folder", t / "LinkToFolder");
    fs::create_symlink(t / "missing", t / "BrokenLink");

    auto entries = listVisibleEntries(t.path());
    sortByFileURL(entries);
    ASSERT_EQ(entryNames(entries),
              (std::vector<std::string>{"BrokenLink", "file.txt", "Folder", "LinkToFolder"}));
    EXPECT_FALSE(entries[0].isDirectory);  // a broken link does not exist
    EXPECT_FALSE(entries[1].isDirectory);
    EXPECT_TRUE(entries[2].isDirectory);
    EXPECT_TRUE(entries[3].isDirectory);  // a link counts as the folder it leads to
    EXPECT_EQ(entries[2].path, t / "Folder");
}

TEST(FolderListing, UnreadableOrMissingFolderHasNoEntries) {
    TempDir t;
    EXPECT_TRUE(listVisibleEntries(t / "nothing-here").empty());
    EXPECT_FALSE(hasVisibleSubfolder(t / "nothing-here"));
    test::writeFile(t / "plain", "x");
    EXPECT_TRUE(listVisibleEntries(t / "plain").empty());
}

TEST(FolderListing, ProbeFindsOnlyVisibleSubfolders) {
    TempDir t;
    fs::create_directories(t / "filesOnly");
    test::writeFile(t / "filesOnly/a.txt", "a");
    test::writeFile(t / "filesOnly/b.txt", "b");
    EXPECT_FALSE(hasVisibleSubfolder(t / "filesOnly"));

    fs::create_directories(t / "hiddenOnly/.secret");
    test::writeFile(t / "hiddenOnly/a.txt", "a");
    EXPECT_FALSE(hasVisibleSubfolder(t / "hiddenOnly"));

    fs::create_directories(t / "withFolder/Sub");
    EXPECT_TRUE(hasVisibleSubfolder(t / "withFolder"));

    fs::create_directories(t / "empty");
    EXPECT_FALSE(hasVisibleSubfolder(t / "empty"));
}

TEST(FolderListing, ProbeAddressIsPercentEscapedAndLeadsBackToThePath) {
    const std::vector<std::string> paths = {
        "/tmp/My Photos/2024",      "/tmp/Fotos \xC3\xA9t\xC3\xA9",  // "Fotos été"
        "/tmp/what?/and#that/100%", "/tmp/semi;colon:and,comma",
        "/tmp/\xFF\xFE not utf-8",  "/tmp/plus+and&amp"};
    for (const auto& path : paths) {
        const std::string address = probeAddressForPath(path);
        // Nothing in the address needs escaping any more: blanks, '?', '#', '%' and every byte
        // outside ASCII are written as %XX.
        for (unsigned char ch : address) {
            EXPECT_TRUE(std::isalnum(ch) || ch == '/' || ch == '%' || ch == '-' || ch == '.' ||
                        ch == '_' || ch == '~')
                << path << " -> " << address;
        }
        EXPECT_EQ(pathFromProbeAddress(address), path) << address;
    }
    EXPECT_EQ(probeAddressForPath("/tmp/My Photos"), "/tmp/My%20Photos");
    EXPECT_EQ(probeAddressForPath("/tmp/\xC3\xA9"), "/tmp/%C3%A9");
}

TEST(FolderListing, ProbeWorksForPathsWithBlanksAndLettersOutsideAscii) {
    TempDir t;
    const std::string odd = t / "Mes Fotos \xC3\xA9t\xC3\xA9 #1 100% ?";
    fs::create_directories(odd + "/Sous dossier");
    EXPECT_TRUE(hasVisibleSubfolder(odd));
    const std::string oddEmpty = t / "Vide \xC3\xA0 moiti\xC3\xA9";
    fs::create_directories(oddEmpty);
    test::writeFile(oddEmpty + "/f.txt", "x");
    EXPECT_FALSE(hasVisibleSubfolder(oddEmpty));
}

TEST(FolderListing, DisplayNameIsTheLastComponent) {
    EXPECT_EQ(displayNameAtPath("/home/u/.QVTransfer/Public"), "Public");
    EXPECT_EQ(displayNameAtPath("/media/disk/My Folder/"), "My Folder");
    EXPECT_EQ(displayNameAtPath("/"), "/");
}

TEST(FolderListing, FileUrlStringsArePercentEscaped) {
    EXPECT_EQ(fileURLString("/a b/c"), "file:///a%20b/c");
}

TEST(FolderListing, NumbersCompareByValueEvenInTheCLocale) {
    // The test programs run without a locale of their own; whatever the environment, the
    // order must put 2 before 10.
    EXPECT_TRUE(standardLess("2", "10"));
    EXPECT_FALSE(standardLess("10", "2"));
    EXPECT_TRUE(standardLess("Folder 9", "Folder 10"));
    EXPECT_TRUE(standardLess("apple", "Banana"));
    EXPECT_TRUE(standardLess("Banana", "cherry"));
}

TEST(FolderListing, LevelOrderIsNumericAware) {
    TempDir t;
    for (const char* name : {"10", "2", "1", "Zeta", "apple", "Banana", "Folder 10", "Folder 9"})
        fs::create_directories(t / name);
    auto entries = listVisibleEntries(t.path());
    sortByFileURL(entries);
    EXPECT_EQ(entryNames(entries), (std::vector<std::string>{"1", "2", "10", "apple", "Banana",
                                                             "Folder 9", "Folder 10", "Zeta"}));
}

TEST(FolderListing, CollationHoldsWhateverTheProcessLocale) {
    // Report the locale the order was checked in, so a run with LANG=C shows it.
    const char* lang = std::getenv("LANG");
    const char* all = std::getenv("LC_ALL");
    RecordProperty("LANG", lang ? lang : "(unset)");
    RecordProperty("LC_ALL", all ? all : "(unset)");
    RecordProperty("QLocale::system", QLocale::system().name().toStdString());
    EXPECT_TRUE(standardLess("file:///x/2", "file:///x/10"));
}
