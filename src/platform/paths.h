// The per-user folders.
#pragma once

#include <string>

namespace qvt::platform {

struct UserFolders {
    std::string home;                // the current user's home folder
    std::string applicationSupport;  // normally ~/.local/share

    // The real folders of the current user: home from $HOME (or the user database when it is
    // unset), application support from Qt's writable generic data location.
    static UserFolders current();
    // The folder that holds the state file: applicationSupport + "/QVTransfer".
    std::string transferDataFolder() const { return applicationSupport + "/QVTransfer"; }
    // The folder shares and volumes are mounted under: home + "/.QVTransfer".
    std::string mountFolder() const { return home + "/.QVTransfer"; }
};

// Creates `path` and its missing parents; an existing folder is no error.
bool createFolderWithParents(const std::string& path);
// Whether `path` names a folder (symbolic links followed).
bool folderExists(const std::string& path);
// Whether anything exists at `path`, a file or a folder (symbolic links followed, so a link
// whose target is gone does not count).
bool fileExists(const std::string& path);
// Whether `path` is `root` or lies below it, compared by the text of both.
bool isUnder(const std::string& path, const std::string& root);
// Whether one of the components of `path` is "." or "..": a path that stays put or walks up.
bool hasDotComponent(const std::string& path);

}  // namespace qvt::platform
