#include "console_texts.h"

#include <QLocale>
#include <QString>
#include <QTranslator>
#include <cctype>
#include <memory>
#include <mutex>
#include <vector>

namespace qvt::cli {

namespace {

struct Tables {
    std::unique_ptr<QTranslator> user;     // the user's language, when there is a table for it
    std::unique_ptr<QTranslator> english;  // every id, for the texts a table lacks
    QLocale numbers{QLocale::English};     // how the chosen language writes numbers
};

std::mutex& tablesMutex() {
    static std::mutex m;
    return m;
}

std::unique_ptr<Tables>& current() {
    static std::unique_ptr<Tables> tables;
    return tables;
}

std::unique_ptr<Tables> load(const QLocale& locale) {
    auto t = std::make_unique<Tables>();
    const QString folder = QStringLiteral(":/qvtransfer-cli/i18n");
    t->english = std::make_unique<QTranslator>();
    if (!t->english->load(QStringLiteral("qvtransfer-cli_en"), folder)) t->english.reset();
    auto user = std::make_unique<QTranslator>();
    // Each of the locale's UI languages in turn, with and without its territory.
    if (user->load(locale, QStringLiteral("qvtransfer-cli"), QStringLiteral("_"), folder)) {
        t->numbers = QLocale(user->language());
        t->user = std::move(user);
    }
    t->numbers.setNumberOptions(QLocale::OmitGroupSeparator);
    return t;
}

const Tables& tables() {
    auto& tables = current();
    if (!tables) tables = load(QLocale());
    return *tables;
}

QString lookUp(const char* id, int count) {
    const Tables& t = tables();
    // Id-based tables keep each text under an empty context with its id as the source.
    QString text = t.user ? t.user->translate(nullptr, id, nullptr, count) : QString();
    if (text.isEmpty() && t.english) text = t.english->translate(nullptr, id, nullptr, count);
    return text.isEmpty() ? QString::fromUtf8(id) : text;
}

// Puts the count and the arguments in, in one pass, so an argument that holds "%1" (a file
// name may) is never read as a place of its own.
std::string fill(const QString& text, const std::string* count,
                 std::initializer_list<std::string> args) {
    const std::string pattern = text.toStdString();
    const std::vector<std::string> values(args);
    std::string out;
    out.reserve(pattern.size() + 32);
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const char ch = pattern[i];
        if (ch == '%' && i + 1 < pattern.size()) {
            const char next = pattern[i + 1];
            if (next == 'n' && count) {
                out += *count;
                ++i;
                continue;
            }
            if (next >= '1' && next <= '9' &&
                static_cast<std::size_t>(next - '1') < values.size()) {
                out += values[static_cast<std::size_t>(next - '1')];
                ++i;
                continue;
            }
        }
        out += ch;
    }
    return out;
}

}  // namespace

void setConsoleLocale(const QLocale& locale) {
    std::lock_guard lock(tablesMutex());
    current() = load(locale);
}

std::string consoleText(const char* id, std::initializer_list<std::string> args) {
    std::lock_guard lock(tablesMutex());
    return fill(lookUp(id, -1), nullptr, args);
}

bool isYesKey(char key) {
    const char lower = static_cast<char>(std::tolower(static_cast<unsigned char>(key)));
    if (lower == 'y') return true;
    const std::string letter = consoleText("YES_LETTER");
    return letter.size() == 1 && lower == std::tolower(static_cast<unsigned char>(letter[0]));
}

std::string consoleCountText(const char* id, std::uint64_t count,
                             std::initializer_list<std::string> args) {
    std::lock_guard lock(tablesMutex());
    // The plural rules need an int; beyond its range every language uses its plural.
    const int n = count > 1000000000u ? 1000000000 : static_cast<int>(count);
    const std::string digits = std::to_string(count);
    return fill(lookUp(id, n), &digits, args);
}

std::string decimalText(double value, int decimals) {
    std::lock_guard lock(tablesMutex());
    return tables().numbers.toString(value, 'f', decimals).toStdString();
}

}  // namespace qvt::cli
