#include "session/resources.h"

#include <QFile>

#include "platform/plist_io.h"

namespace qvt {

std::optional<std::string> readResource(const std::string& path) {
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
    const QByteArray bytes = file.readAll();
    return std::string(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

std::vector<std::string> resourcePathList(const std::string& name) {
    std::vector<std::string> out;
    const auto bytes = readResource(":/qvtransfer/lists/" + name + ".plist");
    if (!bytes) return out;
    const auto value = platform::parsePropertyList(*bytes);
    if (!value || !value->asList()) return out;
    for (const Value& v : *value->asList())
        if (const std::string* s = v.asString()) out.push_back(*s);
    return out;
}

}  // namespace qvt
