// Share URLs: percent escapes and the parts of an "afp://" or "smb://" share URL.
#pragma once

#include <string>

namespace qvt::platform {

// Adds percent escapes (UTF-8) to a whole URL string: blanks, non-ASCII bytes, "%" and the
// other characters that may not stand in a URL are encoded; the reserved characters
// ";/?:@&=+$,#" and the unreserved ones are left as they are.
std::string addPercentEscapes(const std::string& text);
// Replaces every valid "%XX" escape by its byte; an invalid escape is kept as it is.
std::string removePercentEscapes(const std::string& text);
// Escapes one path component or share name for an smb:// URL ("/" is escaped too).
std::string escapeUrlComponent(const std::string& text);

// A share URL taken apart: "scheme://[;AUTH=mechanism@]authority/share".
struct ShareUrl {
    bool valid = false;
    std::string scheme;         // "afp" or "smb", lower case
    std::string authMechanism;  // the unescaped AUTH part ("No User Authent"), or ""
    std::string authority;      // host as written, with a port if one was given
    std::string host;           // the host alone (no port, no brackets)
    std::string share;          // the unescaped share name
};
// Parses a share URL; `valid` is false when the URL is not of that shape or the share name is
// empty, ".", ".." or holds "/" after unescaping.
ShareUrl parseShareUrl(const std::string& url);

// True when `name` can name a folder directly inside another one: not empty, not "." or "..",
// no "/" and no NUL.
bool isSafeFolderName(const std::string& name);

}  // namespace qvt::platform
