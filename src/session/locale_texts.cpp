// The localised texts. The library carries its own string tables and its own translator, so
// the host application's translations never change the wizard's words and the wizard never
// installs anything into the host's application object.
#include <QLocale>
#include <QTranslator>
#include <map>
#include <memory>
#include <mutex>

#include "platform/format.h"
#include "session/qvtransfer_private.h"

namespace {

struct StringTables {
    std::unique_ptr<QTranslator> user;     // the user's language, when the library has it
    std::unique_ptr<QTranslator> english;  // the fallback
};

StringTables loadTables() {
    StringTables t;
    t.english = std::make_unique<QTranslator>();
    if (!t.english->load(QStringLiteral(":/qvtransfer/i18n/qvtransfer_en.qm"))) t.english.reset();
    auto user = std::make_unique<QTranslator>();
    // QTranslator tries every UI language of the locale in order, with and without territory.
    if (user->load(QLocale(), QStringLiteral("qvtransfer"), QStringLiteral("_"),
                   QStringLiteral(":/qvtransfer/i18n")))
        t.user = std::move(user);
    return t;
}

// One set of tables per language, loaded the first time a controller asks in that language.
const StringTables& tables() {
    static std::mutex mutex;
    static std::map<QString, StringTables> byLanguage;
    const QString language = QLocale().name();
    std::lock_guard lock(mutex);
    auto it = byLanguage.find(language);
    if (it == byLanguage.end()) it = byLanguage.emplace(language, loadTables()).first;
    return it->second;
}

QString lookUp(const QTranslator* translator, const char* key) {
    // Id-based tables store each text under an empty context with the key as its source.
    return translator ? translator->translate(nullptr, key) : QString();
}

}  // namespace

std::string QVTransferPrivate::localizedString(const std::string& key) const {
    const auto& t = tables();
    QString text = lookUp(t.user.get(), key.c_str());
    if (text.isEmpty()) text = lookUp(t.english.get(), key.c_str());
    if (text.isEmpty()) return key;
    return text.toStdString();
}

void QVTransferPrivate::setupLocaleTexts() {
#define QVT_LOAD_LOCALE_TEXT(property, key) \
    if (*key) locale##property = localizedString(key);
    QVT_LOCALE_TEXTS(QVT_LOAD_LOCALE_TEXT)
#undef QVT_LOAD_LOCALE_TEXT

    using qvt::platform::format;
    const std::string product = deviceInfo().string("productName");
    const std::string cancelWarning = localizedString("CANCEL_UPLOAD_WARNING_txt");
    localeSYSTEM_FILE_WARNING1_txt_MAC =
        format("%@\n\n%@", localeSYSTEM_FILE_WARNING1_txt_MAC, localeSYSTEM_FILE_WARNING2_txt_MAC);
    localeDEVICE_DISCONNECT_WARNING_txt =
        format("%@\n\n%@", localeDEVICE_DISCONNECT_WARNING_txt, cancelWarning);
    localeCHOOSE_UPLOAD_LOCATION_title = format(localeCHOOSE_UPLOAD_LOCATION_title, product);
    localeLOST_CONNECTION_MSG_txt = format(localeLOST_CONNECTION_MSG_txt, product);
    localeDEVICE_LOST_CONNECTION_MSG_txt = format(localeDEVICE_LOST_CONNECTION_MSG_txt, product);
    localeOUT_OF_SPACE_MSG_txt = format("%@\n\n%@", localeDEVICE_FULL_WARNING_txt, cancelWarning);
    localeDEVICE_FULL_MSG_txt = format(localeDEVICE_FULL_MSG_txt, product);
}
