#include "platform/desktop_open.h"

#include <QDesktopServices>
#include <QGuiApplication>
#include <QUrl>

#include "platform/files.h"

namespace qvt::platform {

bool openInFileBrowser(const std::string& url) {
    // Without a GUI application (the console uploader) there is no desktop to ask.
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance())) return false;
    return QDesktopServices::openUrl(QUrl(QString::fromStdString(url), QUrl::StrictMode));
}

std::string folderUrl(const std::string& path) {
    if (path.empty()) return {};
    const std::string shared = files().networkURLForPath(path);
    if (!shared.empty()) return shared;
    return QUrl::fromLocalFile(QString::fromStdString(path))
        .toString(QUrl::FullyEncoded)
        .toStdString();
}

std::string folderUrlForPeople(const std::string& url) {
    const QUrl parsed(QString::fromStdString(url), QUrl::StrictMode);
    if (!parsed.isValid()) {
        // Not an address Qt reads: what stands before an "@" in its host part stays unshown
        // all the same.
        std::string shown = url;
        const auto scheme = shown.find("://");
        if (scheme == std::string::npos) return shown;
        const auto start = scheme + 3;
        const auto at = shown.rfind('@', shown.find('/', start));
        if (at != std::string::npos && at >= start) shown.erase(start, at + 1 - start);
        return shown;
    }
    if (parsed.isLocalFile()) return parsed.toLocalFile().toStdString();
    return parsed.toString(QUrl::RemoveUserInfo | QUrl::PrettyDecoded).toStdString();
}

}  // namespace qvt::platform
