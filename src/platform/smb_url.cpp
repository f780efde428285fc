#include "platform/smb_url.h"

#include <cctype>
#include <cstring>

namespace qvt::platform {

namespace {

bool isUnreserved(unsigned char c) {
    return std::isalnum(c) || std::strchr("-_.!~*'()", c) != nullptr;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

void appendEscaped(std::string& out, unsigned char c) {
    static const char* digits = "0123456789ABCDEF";
    out += '%';
    out += digits[c >> 4];
    out += digits[c & 15];
}

}  // namespace

std::string addPercentEscapes(const std::string& text) {
    std::string out;
    for (unsigned char c : text) {
        if (c != 0 && (isUnreserved(c) || std::strchr(";/?:@&=+$,#", c) != nullptr))
            out += static_cast<char>(c);
        else
            appendEscaped(out, c);
    }
    return out;
}

std::string removePercentEscapes(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size()) {
            const int hi = hexValue(text[i + 1]);
            const int lo = hexValue(text[i + 2]);
            if (hi >= 0 && lo >= 0) {
                out += static_cast<char>(hi * 16 + lo);
                i += 2;
                continue;
            }
        }
        out += text[i];
    }
    return out;
}

std::string escapeUrlComponent(const std::string& text) {
    std::string out;
    for (unsigned char c : text) {
        if (c != 0 && isUnreserved(c) && c != '\'' && c != '(' && c != ')' && c != '*' && c != '!')
            out += static_cast<char>(c);
        else
            appendEscaped(out, c);
    }
    return out;
}

bool isSafeFolderName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

ShareUrl parseShareUrl(const std::string& url) {
    ShareUrl r;
    const auto sep = url.find("://");
    if (sep == std::string::npos) return r;
    for (char c : url.substr(0, sep))
        r.scheme += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (r.scheme != "afp" && r.scheme != "smb") return r;
    std::string rest = url.substr(sep + 3);
    const auto slash = rest.find('/');
    if (slash == std::string::npos) return r;
    std::string authority = rest.substr(0, slash);
    std::string path = rest.substr(slash + 1);
    const auto at = authority.rfind('@');
    if (at != std::string::npos) {
        const std::string userInfo = authority.substr(0, at);
        authority = authority.substr(at + 1);
        const auto authPos = userInfo.find(";AUTH=");
        if (authPos != std::string::npos)
            r.authMechanism = removePercentEscapes(userInfo.substr(authPos + 6));
    }
    r.authority = authority;
    if (!authority.empty() && authority.front() == '[') {
        const auto close = authority.find(']');
        r.host = authority.substr(1, close == std::string::npos ? std::string::npos : close - 1);
    } else {
        r.host = authority.substr(0, authority.find(':'));
    }
    while (!path.empty() && path.back() == '/') path.pop_back();
    r.share = removePercentEscapes(path);
    r.valid = !r.host.empty() && isSafeFolderName(r.share);
    return r;
}

}  // namespace qvt::platform
