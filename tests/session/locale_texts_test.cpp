// The localised texts: lookup with the library's own tables, the fallback to the key, the
// renamed properties and the texts composed at creation.
#include <gtest/gtest.h>

#include <QLocale>

#include "support.h"

using namespace qvt;
using namespace qvt::test;

namespace {

std::shared_ptr<QVTransferPrivate> make(Harness& h, const std::string& product = "Cloud Box") {
    auto c =
        QVTransferPrivate::initWithDevice(nasDevice("127.0.0.1:1", "SN1", product), h.services);
    EXPECT_TRUE(c);
    return c;
}

std::size_t count(const std::string& text, const std::string& part) {
    std::size_t n = 0;
    for (auto pos = text.find(part); pos != std::string::npos; pos = text.find(part, pos + 1)) n++;
    return n;
}

}  // namespace

TEST(LocaleTexts, MissingKeyYieldsTheKeyItself) {
    Harness h;
    auto c = make(h);
    EXPECT_EQ(c->localizedString("NO_SUCH_KEY_btn"), "NO_SUCH_KEY_btn");
    EXPECT_EQ(c->localizedString(""), "");
}

TEST(LocaleTexts, EveryPropertyIsFilledFromTheTable) {
    LocaleGuard english(QLocale(QLocale::English, QLocale::UnitedKingdom));
    Harness h;
    auto c = make(h);
    // Every key the controller loads is present in the shipped English table, so no property
    // holds its bare key.
#define QVT_CHECK_LOCALE(property, key)                          \
    EXPECT_FALSE(c->locale##property.empty()) << #property;      \
    if (*key) {                                                  \
        EXPECT_NE(c->locale##property, std::string(key)) << key; \
    }
    QVT_LOCALE_TEXTS(QVT_CHECK_LOCALE)
#undef QVT_CHECK_LOCALE
    EXPECT_EQ(c->localeCANCEL_btn, "Cancel");
}

// The window's heading has two keys (a device used before, and one not used yet): a user who
// sees both sees the same heading, not one in title case and one in sentence case.
TEST(LocaleTexts, BothUploadHeadingsReadTheSameInEveryLanguage) {
    for (const QLocale& locale :
         {QLocale(QLocale::English), QLocale(QLocale::German), QLocale(QLocale::French)}) {
        LocaleGuard guard(locale);
        Harness h;
        auto c = make(h);
        EXPECT_EQ(c->localizedString("UPLOADING_FILES_TO_txt"),
                  c->localizedString("UPLOADING_FILES_TO_title"))
            << locale.name().toStdString();
    }
}

TEST(LocaleTexts, KeysLookedUpAtTheMomentOfUseExist) {
    Harness h;
    auto c = make(h);
    for (const char* key : {"ALL_FILES_SUCCESSFULLY_UPLOADED_TO_txt", "TIME_REMAINING_ABOUT_TEXT",
                            "OUT_OF_SPACE_MSG_2_txt", "MOVE_FILE_WARNING_txt",
                            "DRAG_FOLDERS_FILES_HERE_OR_txt", "SYSTEM_FILE_WARNING1_txt_MAC",
                            "SYSTEM_FILE_WARNING2_txt_MAC", "CANCEL_UPLOAD_WARNING_txt"})
        EXPECT_NE(c->localizedString(key), key) << key;
}

TEST(LocaleTexts, RenamedPropertiesHoldTheirKeysTexts) {
    Harness h;
    auto c = make(h);
    EXPECT_EQ(c->localeSOME_FILES_SUCCESSFULLY_UPLOADED_txt,
              c->localizedString("SOME_FILES_SUCCESSFULLY_UPLOADED_TO_txt"));
    EXPECT_EQ(c->localeNO_FILE_SUCCESSFULLY_UPLOADED_txt,
              c->localizedString("NO_FILE_SUCCESSFULLY_UPLOADED_TO_txt"));
    EXPECT_EQ(c->localeDRAG_AND_DROP_txt, c->localizedString("DRAG_AND_DROP_OR_txt"));
}

TEST(LocaleTexts, ComposedTextsHaveExactlyOneBlankLineBetweenTheirParts) {
    Harness h;
    auto c = make(h);
    const std::string cancelWarning = c->localizedString("CANCEL_UPLOAD_WARNING_txt");
    EXPECT_EQ(c->localeSYSTEM_FILE_WARNING1_txt_MAC,
              c->localizedString("SYSTEM_FILE_WARNING1_txt_MAC") + "\n\n" +
                  c->localizedString("SYSTEM_FILE_WARNING2_txt_MAC"));
    EXPECT_EQ(c->localeDEVICE_DISCONNECT_WARNING_txt,
              c->localizedString("DEVICE_DISCONNECT_WARNING_txt") + "\n\n" + cancelWarning);
    EXPECT_EQ(c->localeOUT_OF_SPACE_MSG_txt,
              c->localizedString("DEVICE_FULL_WARNING_txt") + "\n\n" + cancelWarning);
    for (const std::string* text :
         {&c->localeSYSTEM_FILE_WARNING1_txt_MAC, &c->localeDEVICE_DISCONNECT_WARNING_txt,
          &c->localeOUT_OF_SPACE_MSG_txt}) {
        EXPECT_EQ(count(*text, "\n\n"), 1u) << *text;
        EXPECT_EQ(count(*text, "\n\n\n"), 0u) << *text;
    }
}

TEST(LocaleTexts, ProductNameIsFilledIntoTheComposedFormats) {
    Harness h;
    auto c = make(h, "Ocean Box");
    for (const std::string* text :
         {&c->localeCHOOSE_UPLOAD_LOCATION_title, &c->localeLOST_CONNECTION_MSG_txt,
          &c->localeDEVICE_LOST_CONNECTION_MSG_txt, &c->localeDEVICE_FULL_MSG_txt}) {
        EXPECT_NE(text->find("Ocean Box"), std::string::npos) << *text;
        EXPECT_EQ(text->find("%@"), std::string::npos) << *text;
    }
    // Formats filled later keep their placeholders.
    EXPECT_NE(c->localeUPLOADING_FILES_TO_txt.find('%'), std::string::npos);
}

TEST(LocaleTexts, CountedWordsKeepTheirFormInEveryLanguage) {
    for (const QLocale& locale :
         {QLocale(QLocale::English), QLocale(QLocale::German), QLocale(QLocale::French)}) {
        LocaleGuard guard(locale);
        Harness h;
        auto c = make(h);
        // "%@", one blank, then one word without blanks.
        auto hasForm = [](const std::string& w) {
            return w.size() > 3 && w.rfind("%@ ", 0) == 0 && w.find(' ', 3) == std::string::npos &&
                   w.find('\n') == std::string::npos;
        };
        for (const std::string* word :
             {&c->localeFILE_txt, &c->localeFILES_txt, &c->localeFOLDER_txt, &c->localeFOLDERS_txt})
            EXPECT_TRUE(hasForm(*word)) << locale.name().toStdString() << ": " << *word;
    }
}

TEST(LocaleTexts, UserLanguageIsUsedWithEnglishAsFallback) {
    std::string english, german, french, unknown;
    {
        LocaleGuard guard(QLocale(QLocale::English));
        Harness h;
        english = make(h)->localeCANCEL_btn;
    }
    {
        LocaleGuard guard(QLocale(QLocale::German, QLocale::Germany));
        Harness h;
        german = make(h)->localeCANCEL_btn;
    }
    {
        LocaleGuard guard(QLocale(QLocale::French, QLocale::France));
        Harness h;
        french = make(h)->localeCANCEL_btn;
    }
    {
        LocaleGuard guard(QLocale(QLocale::Japanese));
        Harness h;
        unknown = make(h)->localeCANCEL_btn;
    }
    EXPECT_EQ(english, "Cancel");
    EXPECT_EQ(german, "Abbrechen");
    EXPECT_EQ(french, "Annuler");
    EXPECT_EQ(unknown, english);
}
