// The sample host puts Qt's own translations in place for the user's language, so the dialogs
// Qt draws for the wizard (the file chooser, standard buttons) are not left in English.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QLocale>

#include "host/host_texts.h"

namespace {

// Restores the default locale however the test ends.
struct DefaultLocale {
    explicit DefaultLocale(const QLocale& locale) { QLocale::setDefault(locale); }
    ~DefaultLocale() { QLocale::setDefault(saved); }
    QLocale saved = QLocale();
};

TEST(HostQtTranslations, TheFileChooserSpeaksGermanInAGermanSession) {
    ASSERT_EQ(QCoreApplication::translate("QFileDialog", "Look in:"), QStringLiteral("Look in:"));
    DefaultLocale german(QLocale(QLocale::German, QLocale::Germany));
    ASSERT_TRUE(qvt::host::installQtTranslations());
    EXPECT_EQ(QCoreApplication::translate("QFileDialog", "Look in:"), QStringLiteral("Suchen in:"));
}

}  // namespace
