// Path arithmetic of the copy: names, folders and extensions of slash-separated paths, with the
// rules a file manager uses (a trailing slash is not a component, a leading dot does not start
// an extension).
#pragma once

#include <string>

namespace qvt::engine {

// The last component: "/a/b/" gives "b", "/" gives "/", "" gives "".
std::string lastPathComponent(const std::string& path);
// The path without its last component: "/a/b" gives "/a", "/a" gives "/", "a" gives "".
std::string deletingLastPathComponent(const std::string& path);
// `folder` joined with `component`: "" + "x" is "x", "/a/" + "x" is "/a/x".
std::string appendingPathComponent(const std::string& folder, const std::string& component);
// The extension of the last component without its dot ("" when it has none). A name that starts
// with its only dot (".profile") or ends with a dot has none.
std::string pathExtension(const std::string& path);
// The path with the extension of its last component (and that dot) removed.
std::string deletingPathExtension(const std::string& path);

}  // namespace qvt::engine
