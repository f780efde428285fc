// The sample host's own words in the user's language: English, German or French, and English
// for any other language. The string tables are resources/i18n/host/qvtransfer-host_*.ts; a
// text is looked up by its id there.
#pragma once

#include <QString>

namespace qvt::host {

// The text `id` in the user's language (LANGUAGE's list when it is set, else LC_ALL,
// LC_MESSAGES or LANG), the argument (if any) put in for "%1" as it is written. The tables
// are read at the first call, from the main thread.
QString hostText(const char* id, const QString& argument = QString());

// Installs Qt's own translations for the user's language into the application, so that the
// dialogs Qt draws (the file chooser, the message boxes' standard buttons) speak it too. The
// wizard never installs translations into its host's application: choosing them is the host's
// part. Answers whether a table for the language was found.
bool installQtTranslations();

}  // namespace qvt::host
