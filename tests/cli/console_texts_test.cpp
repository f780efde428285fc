// The console's words in each of its languages: counts in the singular and the plural the
// language uses, sizes and times as its people write them, and the fallbacks.
#include <gtest/gtest.h>

#include <QLocale>
#include <cstdint>
#include <string>

#include "console_texts.h"
#include "progress_text.h"

using qvt::cli::consoleCountText;
using qvt::cli::consoleText;
using qvt::cli::durationText;
using qvt::cli::progressBytesText;
using qvt::cli::setConsoleLocale;
using qvt::cli::sourcesText;

namespace {

const std::string kNoBreak = "\u00a0";

// Chooses a language for one test and goes back to English after it, as the other console
// tests of this program expect.
struct ConsoleLanguage {
    explicit ConsoleLanguage(const QLocale& locale) { setConsoleLocale(locale); }
    ~ConsoleLanguage() { setConsoleLocale(QLocale(QLocale::English)); }
};

struct CountRow {
    std::uint64_t count;
    const char* files;
    const char* folders;
    const char* bytes;
};

void expectCounts(const QLocale& locale, std::initializer_list<CountRow> rows) {
    ConsoleLanguage language(locale);
    for (const CountRow& row : rows) {
        EXPECT_EQ(consoleCountText("FILES_n", row.count), row.files) << row.count;
        EXPECT_EQ(consoleCountText("FOLDERS_n", row.count), row.folders) << row.count;
        EXPECT_EQ(progressBytesText(row.count), row.bytes) << row.count;
    }
}

struct SizeRow {
    std::uint64_t bytes;
    std::string text;
};

void expectSizes(const QLocale& locale, std::initializer_list<SizeRow> rows) {
    ConsoleLanguage language(locale);
    for (const SizeRow& row : rows) EXPECT_EQ(progressBytesText(row.bytes), row.text) << row.bytes;
}

}  // namespace

TEST(ConsoleTexts, EnglishCountsUseTheSingularForOneOnly) {
    expectCounts(QLocale(QLocale::English, QLocale::UnitedStates),
                 {{0, "0 files", "0 folders", "0 bytes"},
                  {1, "1 file", "1 folder", "1 byte"},
                  {2, "2 files", "2 folders", "2 bytes"},
                  {21, "21 files", "21 folders", "21 bytes"},
                  {999, "999 files", "999 folders", "999 bytes"}});
    ConsoleLanguage language(QLocale(QLocale::English));
    EXPECT_EQ(consoleCountText("FILES_n", 3'000'000'000ull), "3000000000 files");
}

TEST(ConsoleTexts, GermanCountsUseTheSingularForOneOnly) {
    expectCounts(QLocale(QLocale::German, QLocale::Germany),
                 {{0, "0 Dateien", "0 Ordner", "0 Byte"},
                  {1, "1 Datei", "1 Ordner", "1 Byte"},
                  {2, "2 Dateien", "2 Ordner", "2 Byte"},
                  {21, "21 Dateien", "21 Ordner", "21 Byte"}});
}

TEST(ConsoleTexts, FrenchCountsUseTheSingularForZeroAndOne) {
    expectCounts(QLocale(QLocale::French, QLocale::France),
                 {{0, "0 fichier", "0 dossier", "0 octet"},
                  {1, "1 fichier", "1 dossier", "1 octet"},
                  {2, "2 fichiers", "2 dossiers", "2 octets"},
                  {21, "21 fichiers", "21 dossiers", "21 octets"}});
}

TEST(ConsoleTexts, SizesWithTheDecimalSignAndUnitsOfEachLanguage) {
    expectSizes(QLocale(QLocale::English), {{1000, "1.0 KB"},
                                            {12'345'678, "12.3 MB"},
                                            {1'073'741'824, "1.1 GB"},
                                            {999'960, "1.0 MB"},
                                            {5'000'000'000'000ull, "5.0 TB"}});
    expectSizes(QLocale(QLocale::German, QLocale::Germany), {{1000, "1,0 kB"},
                                                             {12'345'678, "12,3 MB"},
                                                             {1'073'741'824, "1,1 GB"},
                                                             {999'960, "1,0 MB"},
                                                             {5'000'000'000'000ull, "5,0 TB"}});
    expectSizes(QLocale(QLocale::French, QLocale::France),
                {{1000, "1,0" + kNoBreak + "ko"},
                 {12'345'678, "12,3" + kNoBreak + "Mo"},
                 {1'073'741'824, "1,1" + kNoBreak + "Go"},
                 {999'960, "1,0" + kNoBreak + "Mo"},
                 {5'000'000'000'000ull, "5,0" + kNoBreak + "To"}});
}

TEST(ConsoleTexts, TimesAndTheSourcesLineInEachLanguage) {
    {
        ConsoleLanguage language(QLocale(QLocale::German, QLocale::Austria));
        EXPECT_EQ(durationText(0.6), "0,6 s");
        EXPECT_EQ(durationText(185), "3 min 5 s");
        EXPECT_EQ(sourcesText(1, 1, 3), "1 Ordner, 1 Datei, 3 Byte");
        EXPECT_EQ(sourcesText(2, 14, 3'200'000), "2 Ordner, 14 Dateien, 3,2 MB");
    }
    {
        ConsoleLanguage language(QLocale(QLocale::French, QLocale::Canada));
        EXPECT_EQ(durationText(0.6), "0,6" + kNoBreak + "s");
        EXPECT_EQ(durationText(7440), "2" + kNoBreak + "h 4" + kNoBreak + "min");
        EXPECT_EQ(sourcesText(0, 1, 3), "1 fichier, 3 octets");
    }
    ConsoleLanguage language(QLocale(QLocale::English));
    EXPECT_EQ(durationText(0.6), "0.6 s");
    EXPECT_EQ(sourcesText(1, 1, 1), "1 folder, 1 file, 1 byte");
}

TEST(ConsoleTexts, SentencesWithCountsAgreeInEachLanguage) {
    {
        ConsoleLanguage language(QLocale(QLocale::English));
        EXPECT_EQ(consoleCountText("UPLOADING_n", 1, {"Backup", "Box"}),
                  "Uploading 1 file to Backup on Box");
        EXPECT_EQ(consoleCountText("TRYING_AGAIN_n", 2), "Trying 2 failed items again.");
    }
    {
        ConsoleLanguage language(QLocale(QLocale::German, QLocale::Germany));
        EXPECT_EQ(consoleCountText("UPLOADING_n", 1, {"Backup", "Box"}),
                  "1 Datei wird nach Backup auf Box hochgeladen");
        EXPECT_EQ(consoleCountText("UPLOADING_n", 8, {"Backup", "Box"}),
                  "8 Dateien werden nach Backup auf Box hochgeladen");
        // An empty list is named in the language too.
        EXPECT_EQ(consoleText("NO_ACCOUNT", {"anna", consoleText("NONE")}),
                  "Das Gerät hat kein Konto anna (vorhanden: keine).");
    }
    ConsoleLanguage language(QLocale(QLocale::French, QLocale::France));
    EXPECT_EQ(consoleCountText("TRYING_AGAIN_n", 1), "Nouvel essai de 1 élément en échec.");
    EXPECT_EQ(consoleCountText("SUMMARY_FAILED_n", 3), kNoBreak + "; 3 éléments en échec");
}

TEST(ConsoleTexts, OtherLanguagesGetEnglish) {
    ConsoleLanguage language(QLocale(QLocale::Japanese, QLocale::Japan));
    EXPECT_EQ(consoleCountText("FILES_n", 2), "2 files");
    EXPECT_EQ(progressBytesText(1'100'000'000), "1.1 GB");
    EXPECT_EQ(consoleText("PAUSED"), "Paused.");
}

TEST(ConsoleTexts, AnArgumentIsPutInAsItIsEvenWhenItLooksLikeAPlace) {
    ConsoleLanguage language(QLocale(QLocale::English));
    EXPECT_EQ(consoleText("NO_FOLDER", {"Backup/%2 and %n"}),
              "No folder Backup/%2 and %n on the device.");
    EXPECT_EQ(consoleText("DESTINATION_LINE", {"A", "B"}), "Destination: A on B (%3)");
}

TEST(ConsoleTexts, AnUnknownIdIsShownAsItIs) {
    EXPECT_EQ(consoleText("NO_SUCH_TEXT"), "NO_SUCH_TEXT");
}
