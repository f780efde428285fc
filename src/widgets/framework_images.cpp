#include "widgets/framework_images.h"

#include <QFile>

namespace qvt::widgets {

QString frameworkImagePath(const QString& fileName) {
    return QStringLiteral(":/qvtransfer/images/") + fileName;
}

QIcon frameworkIcon(const QString& fileName) {
    const QString path = frameworkImagePath(fileName);
    if (!QFile::exists(path)) return {};
    return QIcon(path);
}

}  // namespace qvt::widgets
