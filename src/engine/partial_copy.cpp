#include "engine/partial_copy.h"

#include <cstdio>
#include <random>

#include "engine/path_names.h"

namespace qvt::engine {

namespace {

constexpr const char* kPrefix = ".qvtransfer-";
constexpr const char* kSuffix = ".part";
constexpr std::size_t kDigits = 16;

}  // namespace

std::string temporaryPathFor(const std::string& destination) {
    thread_local std::mt19937_64 random{std::random_device{}()};
    char digits[kDigits + 1];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(random()));
    return appendingPathComponent(deletingLastPathComponent(destination),
                                  std::string(kPrefix) + digits + kSuffix);
}

bool isTemporaryName(const std::string& name) {
    const std::string prefix = kPrefix;
    const std::string suffix = kSuffix;
    if (name.size() != prefix.size() + kDigits + suffix.size()) return false;
    if (name.compare(0, prefix.size(), prefix) != 0) return false;
    if (name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0) return false;
    for (std::size_t i = prefix.size(); i < prefix.size() + kDigits; ++i) {
        const char ch = name[i];
        if (!((ch >= '0' && ch <= '9') || (ch >= 'a' && ch <= 'f'))) return false;
    }
    return true;
}

}  // namespace qvt::engine
