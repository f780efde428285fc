// Reading folders for the destination tree: the visible entries of a folder, the sub-folder
// probe that decides whether a node gets a disclosure triangle, display names and the
// Numeric-aware order of a level, as a file manager shows it.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace qvt::destination {

struct FolderEntry {
    std::string name;          // the entry's own name
    std::string path;          // folder + "/" + name
    bool isDirectory = false;  // exists and is a folder (a link is followed)
};

// Hidden items are those whose name starts with a dot.
bool isHiddenName(const std::string& name);

// Calls `visit` for each visible entry of `folder` in listing order until it returns false.
// An unreadable or missing folder has no entries. Entries that vanish while they are looked at
// are reported as not being folders.
void forEachVisibleEntry(const std::string& folder,
                         const std::function<bool(const FolderEntry&)>& visit);
std::vector<FolderEntry> listVisibleEntries(const std::string& folder);

// The name a person sees for `path`: its last component ("/" for the root).
std::string displayNameAtPath(const std::string& path);

// The sub-folder probe addresses the folder through a URL string made by percent-escaping the
// path as UTF-8; parsing it gives back exactly the path, whatever characters it holds (blanks,
// letters outside ASCII, '?', '#', '%').
std::string probeAddressForPath(const std::string& path);
std::string pathFromProbeAddress(const std::string& address);
// Whether `path` holds a visible entry that exists and is a folder; stops at the first one.
bool hasVisibleSubfolder(const std::string& path);

// The absolute file URL string of `path` ("file:///a%20b/c"), the key a level is sorted by.
std::string fileURLString(const std::string& path);
// Numeric-aware comparison: numbers inside names compare by value ("2" before "10") and letters
// ignore case. It holds in the C locale too: the collation uses the user's locale, or English
// when the process has none.
bool standardLess(const std::string& a, const std::string& b);
// Sorts entries by their file URL strings with standardLess, ascending.
void sortByFileURL(std::vector<FolderEntry>& entries);

}  // namespace qvt::destination
