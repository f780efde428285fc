// The pixels behind the image values the controller keeps in its lists: the name of one of
// the library's images ("cloud_up", "warningImage.png"), a desktop icon name
// ("inode-directory"), or the file system's icon of a path ("iconForFile:" + path).
#pragma once

#include <QIcon>
#include <string>

namespace qvt::ui {

QIcon iconForImageValue(const std::string& image);

}  // namespace qvt::ui
