// Images shipped among the library's resources, looked up by the names the screens use.
#pragma once

#include <QIcon>
#include <QPixmap>
#include <QString>

namespace qvt::widgets {

// The resource path of the image `fileName` ("icn_pause_up.png"): ":/qvtransfer/images/...".
QString frameworkImagePath(const QString& fileName);

// The image as an icon (a high-resolution variant is picked up where one exists); a null icon
// when the resource is missing.
QIcon frameworkIcon(const QString& fileName);

}  // namespace qvt::widgets
