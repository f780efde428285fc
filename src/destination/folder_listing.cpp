#include "destination/folder_listing.h"

#include <QByteArray>
#include <QCollator>
#include <QLocale>
#include <QString>
#include <QUrl>
#include <algorithm>
#include <cerrno>

#include "platform/files.h"

namespace qvt::destination {

bool isHiddenName(const std::string& name) {
    return !name.empty() && name.front() == '.';
}

void forEachVisibleEntry(const std::string& folder,
                         const std::function<bool(const FolderEntry&)>& visit) {
    // Through the file layer: under a mounted share the folder lives on the device, not on the
    // local disk where its mount point is.
    auto& files = platform::files();
    int error = 0;
    const std::vector<std::string> names = files.listFolder(folder, &error);
    if (error != 0) return;
    const std::string base = (!folder.empty() && folder.back() == '/') ? folder : folder + "/";
    for (const std::string& name : names) {
        if (name.empty() || name == "." || name == ".." || isHiddenName(name)) continue;
        FolderEntry entry{name, base + name, false};
        bool folderFlag = false;
        entry.isDirectory = files.exists(entry.path, &folderFlag) && folderFlag;
        if (!visit(entry)) break;
    }
}

std::vector<FolderEntry> listVisibleEntries(const std::string& folder) {
    std::vector<FolderEntry> entries;
    forEachVisibleEntry(folder, [&](const FolderEntry& e) {
        entries.push_back(e);
        return true;
    });
    return entries;
}

std::string displayNameAtPath(const std::string& path) {
    std::string p = path;
    while (p.size() > 1 && p.back() == '/') p.pop_back();
    if (p == "/") return p;
    const auto slash = p.rfind('/');
    return slash == std::string::npos ? p : p.substr(slash + 1);
}

std::string probeAddressForPath(const std::string& path) {
    // Everything but the unreserved characters and the separators is escaped, so the string
    // parses as a path alone: no '?' or '#' can start a query or a fragment. The escaping works
    // on the bytes, so a name that is not valid UTF-8 survives too.
    return QByteArray::fromStdString(path).toPercentEncoding("/").toStdString();
}

std::string pathFromProbeAddress(const std::string& address) {
    const QUrl url = QUrl::fromEncoded(QByteArray::fromStdString(address), QUrl::StrictMode);
    if (!url.isValid() || !url.scheme().isEmpty()) return {};
    return QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()).toStdString();
}

bool hasVisibleSubfolder(const std::string& path) {
    const std::string folder = pathFromProbeAddress(probeAddressForPath(path));
    bool found = false;
    forEachVisibleEntry(folder, [&](const FolderEntry& e) {
        found = e.isDirectory;
        return !found;
    });
    return found;
}

std::string fileURLString(const std::string& path) {
    return QUrl::fromLocalFile(QString::fromStdString(path))
        .toString(QUrl::FullyEncoded)
        .toStdString();
}

namespace {

QCollator makeStandardCollator() {
    // The C locale has no collation rules worth the name: numbers would compare digit by digit.
    QLocale locale = QLocale::system();
    if (locale.language() == QLocale::C || locale.language() == QLocale::AnyLanguage)
        locale = QLocale(QLocale::English, QLocale::UnitedStates);
    QCollator collator(locale);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}

}  // namespace

bool standardLess(const std::string& a, const std::string& b) {
    const QCollator collator = makeStandardCollator();
    return collator.compare(QString::fromStdString(a), QString::fromStdString(b)) < 0;
}

void sortByFileURL(std::vector<FolderEntry>& entries) {
    const QCollator collator = makeStandardCollator();
    struct Keyed {
        QString key;
        FolderEntry entry;
    };
    std::vector<Keyed> keyed;
    keyed.reserve(entries.size());
    for (auto& e : entries)
        keyed.push_back({QString::fromStdString(fileURLString(e.path)), std::move(e)});
    std::stable_sort(keyed.begin(), keyed.end(), [&](const Keyed& x, const Keyed& y) {
        return collator.compare(x.key, y.key) < 0;
    });
    entries.clear();
    for (auto& k : keyed) entries.push_back(std::move(k.entry));
}

}  // namespace qvt::destination
