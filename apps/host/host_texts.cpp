#include "host_texts.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>
#include <memory>

namespace qvt::host {

namespace {

struct Tables {
    QTranslator user;     // the user's language, when there is a table for it
    QTranslator english;  // every id, for the texts a table lacks
    bool hasUser = false;
    bool hasEnglish = false;
};

const Tables& tables() {
    static const std::unique_ptr<Tables> t = [] {
        auto loaded = std::make_unique<Tables>();
        const QString folder = QStringLiteral(":/qvtransfer-host/i18n");
        loaded->hasEnglish = loaded->english.load(QStringLiteral("qvtransfer-host_en"), folder);
        loaded->hasUser = loaded->user.load(QLocale(), QStringLiteral("qvtransfer-host"),
                                            QStringLiteral("_"), folder);
        return loaded;
    }();
    return *t;
}

}  // namespace

QString hostText(const char* id, const QString& argument) {
    const Tables& t = tables();
    // Id-based tables keep each text under an empty context with its id as the source.
    QString text = t.hasUser ? t.user.translate(nullptr, id) : QString();
    if (text.isEmpty() && t.hasEnglish) text = t.english.translate(nullptr, id);
    if (text.isEmpty()) text = QString::fromUtf8(id);
    // Put in at its place, never read again: a device's name may itself hold "%1".
    const qsizetype at = text.indexOf(QStringLiteral("%1"));
    if (at < 0) return text;
    return text.left(at) + argument + text.mid(at + 2);
}

bool installQtTranslations() {
    // Kept for the life of the process: the application holds on to it.
    static QTranslator qtTexts;
    if (!qtTexts.load(QLocale(), QStringLiteral("qtbase"), QStringLiteral("_"),
                      QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        return false;
    return QCoreApplication::installTranslator(&qtTexts);
}

}  // namespace qvt::host
