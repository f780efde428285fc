#include "ui/item_images.h"

#include <QFileInfo>
#include <QMimeDatabase>

#include "widgets/framework_images.h"

namespace qvt::ui {

namespace {

const char* const kFileIconPrefix = "iconForFile:";

bool isFolderIconName(const QString& name) {
    return name == QLatin1String("inode-directory") || name == QLatin1String("folder");
}

// A desktop theme icon when the desktop has one, else the library's own folder or file.
QIcon themedIcon(const QString& name, bool folder) {
    const QIcon fallback = widgets::frameworkIcon(folder ? QStringLiteral("folderIcon.png")
                                                         : QStringLiteral("fileIcon.png"));
    if (name.isEmpty()) return fallback;
    return QIcon::fromTheme(name, fallback);
}

QIcon iconForPath(const QString& path) {
    const QFileInfo info(path);
    if (info.isDir()) return themedIcon(QStringLiteral("folder"), true);
    static const QMimeDatabase mimeTypes;
    const QMimeType type = mimeTypes.mimeTypeForFile(info);
    return themedIcon(type.iconName(), false);
}

}  // namespace

QIcon iconForImageValue(const std::string& image) {
    const QString value = QString::fromStdString(image);
    if (value.startsWith(QLatin1String(kFileIconPrefix)))
        return iconForPath(value.mid(int(std::char_traits<char>::length(kFileIconPrefix))));
    if (value.isEmpty()) return {};
    QIcon own = widgets::frameworkIcon(value);
    if (own.isNull()) own = widgets::frameworkIcon(value + QStringLiteral(".png"));
    if (!own.isNull()) return own;
    return themedIcon(value, isFolderIconName(value));
}

}  // namespace qvt::ui
