#include "platform/version.h"

#include <cctype>
#include <limits>
#include <mutex>

#include "platform/plist_io.h"

namespace qvt::platform {

namespace {

const char* const kShippedRecord = ":/qvtransfer/system/SystemVersion.plist";

std::mutex gPathMutex;
std::string gPath = kShippedRecord;

// The integer a component starts with, as a scanner reads it: leading blanks and a sign are
// allowed, digits after that are taken, anything else ends the number; no digits give 0.
// Values beyond the range of long saturate.
long leadingInteger(const std::string& s) {
    std::size_t i = 0;
    while (i < s.size() && std::isspace(static_cast<unsigned char>(s[i]))) ++i;
    bool negative = false;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) {
        negative = s[i] == '-';
        ++i;
    }
    long n = 0;
    constexpr long kMax = std::numeric_limits<long>::max();
    for (; i < s.size() && std::isdigit(static_cast<unsigned char>(s[i])); ++i) {
        const int digit = s[i] - '0';
        n = n > (kMax - digit) / 10 ? kMax : n * 10 + digit;
    }
    return negative ? -n : n;
}

}  // namespace

std::string versionRecordPath() {
    std::lock_guard lock(gPathMutex);
    return gPath;
}

void setVersionRecordPath(const std::string& path) {
    std::lock_guard lock(gPathMutex);
    gPath = path.empty() ? kShippedRecord : path;
}

PlatformVersion readPlatformVersion(const std::string& path) {
    PlatformVersion v;
    const auto record = readPropertyList(path);
    if (!record || !record->asRecord()) return v;
    const Value* product = record->asRecord()->find("ProductVersion");
    if (!product || !product->asString()) return v;
    const std::string& text = *product->asString();
    const auto dot = text.find('.');
    v.major = leadingInteger(text.substr(0, dot));
    if (dot != std::string::npos) {
        const auto next = text.find('.', dot + 1);
        v.minor = leadingInteger(
            text.substr(dot + 1, next == std::string::npos ? std::string::npos : next - dot - 1));
    }
    return v;
}

}  // namespace qvt::platform
