// Share URLs and names on a share, built from whatever a device lists: a share name that may
// stand as a folder gives a URL that parses back to the same host and share, a path piece
// escaped for a URL reads back as itself, and every name a folder can hold (valid UTF-8, without
// the private-use characters the mapping writes) maps to a name the share accepts and back to
// itself.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/smb_names.h"
#include "platform/smb_url.h"

namespace {

bool plainHost(const std::string& host) {
    if (host.empty()) return false;
    for (const char c : host) {
        const bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                        (c >= '0' && c <= '9') || c == '.' || c == '-';
        if (!ok) return false;
    }
    return true;
}

// What the share refuses in a name: the characters SMB does not allow, and a blank or a dot at
// the end.
bool refusedByShare(const std::string& name) {
    for (const char c : name) {
        const auto u = static_cast<unsigned char>(c);
        if (u < 0x20 || std::string("\"*:<>?\\|").find(c) != std::string::npos) return true;
    }
    return !name.empty() && (name.back() == ' ' || name.back() == '.');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    // host NUL share NUL relative path
    const std::size_t a = input.find('\0');
    const std::string host = input.substr(0, a);
    const std::size_t b = a == std::string::npos ? a : input.find('\0', a + 1);
    const std::string share = a == std::string::npos ? "" : input.substr(a + 1, b - a - 1);
    const std::string relative = b == std::string::npos ? "" : input.substr(b + 1);

    namespace p = qvt::platform;
    // The share URL as a remount URL is written: "smb://HOST/SHARE", the share escaped.
    if (plainHost(host) && p::isSafeFolderName(share)) {
        const p::ShareUrl parsed =
            p::parseShareUrl("smb://" + host + "/" + p::escapeUrlComponent(share));
        if (!parsed.valid || parsed.host != host || parsed.share != share) std::abort();
    }
    // Every piece of a path escaped for a URL reads back as itself, and holds no "/" or blank.
    const std::string escaped = p::escapeUrlComponent(relative);
    if (escaped.find_first_of("/ ") != std::string::npos) std::abort();
    if (p::removePercentEscapes(escaped) != relative) std::abort();

    // A name in a folder: no NUL and no "/" (the file system allows neither), not empty, "."
    // or "..".
    const std::string name = input;
    if (p::isSafeFolderName(name) && p::smb::isValidUtf8(name) &&
        name.find("\xEF\x80") == std::string::npos && name.find('\0') == std::string::npos &&
        name.find('/') == std::string::npos) {
        const std::string onShare = p::smb::toShareName(name);
        if (refusedByShare(onShare)) std::abort();
        if (p::smb::fromShareName(onShare) != name) std::abort();
    }
    return 0;
}
