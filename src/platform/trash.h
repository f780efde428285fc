// The desktop Trash (the freedesktop Trash: the item goes to the Trash folder of its volume or
// of the user, where a file manager can put it back).
#pragma once

#include <string>

namespace qvt::platform {

// Moves the file or folder at `path` to the Trash. Returns whether it was moved; a missing item
// or a volume without a usable Trash gives false and changes nothing.
bool moveToTrash(const std::string& path);

}  // namespace qvt::platform
