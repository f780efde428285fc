// Links to folders inside a source are followed, so a link that leads back to a folder above
// it would make the copy (and the count before it) go round for ever.
#pragma once

#include <string>

namespace qvt::engine {

// Whether the folder `path` leads to is `path`'s own parent, grandparent and so on up to the
// root, compared by device and inode. Such a folder is already being copied when `path` is met.
bool leadsBackIntoItself(const std::string& path);

}  // namespace qvt::engine
