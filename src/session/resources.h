// The library's own resources (compiled into it): lists, the interface definition, images.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace qvt {

// The bytes of the resource at `path` (":/qvtransfer/..." or a file path), or nothing.
std::optional<std::string> readResource(const std::string& path);

// The list of paths named `name` among the library's lists (":/qvtransfer/lists/<name>.plist"):
// an XML property list whose root is an array of strings. Entries that are not strings are
// skipped; a missing or malformed list gives an empty one.
std::vector<std::string> resourcePathList(const std::string& name);

}  // namespace qvt
