#include "platform/trash.h"

#include <QFile>
#include <QString>

namespace qvt::platform {

bool moveToTrash(const std::string& path) {
    if (path.empty()) return false;
    return QFile::moveToTrash(QFile::decodeName(QByteArray::fromStdString(path)));
}

}  // namespace qvt::platform
