// Opening a folder or a share's URL in the desktop's file browser.
#pragma once

#include <string>

namespace qvt::platform {

// Hands `url` (a file:// URL or an smb:// URL) to the desktop, which opens it with the user's
// file browser. Main thread, and only with a GUI application; answers whether the desktop took
// it.
bool openInFileBrowser(const std::string& url);

// The URL the file browser is given for a destination folder: its smb:// URL when the folder
// is on a share, otherwise the folder as a file:// URL.
std::string folderUrl(const std::string& path);

// A folder URL as a person reads it: a file:// URL as its path, any other without escapes and
// without a user name.
std::string folderUrlForPeople(const std::string& url);

}  // namespace qvt::platform
