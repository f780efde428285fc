#include "engine/duplicate_name.h"

#include <cstdint>
#include <limits>

#include "platform/format.h"

namespace qvt::engine {

namespace {

bool endsWith(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() &&
           text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// The decimal value of a run of digits; a run too long for 64 bits stays at the largest value.
std::int64_t digitsValue(const std::string& digits) {
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    std::int64_t value = 0;
    for (char c : digits) {
        const int d = c - '0';
        if (value > (kMax - d) / 10) return kMax;
        value = value * 10 + d;
    }
    return value;
}

}  // namespace

std::string duplicateNameCandidate(const std::string& name, const std::string& copyWord) {
    if (endsWith(name, platform::format(" %@", copyWord))) return platform::format("%@ 2", name);

    // The run of digits at the end, scanned backwards; the first two characters are never
    // looked at, so a name of two characters or less never counts as numbered.
    std::size_t runStart = name.size();
    while (runStart > 2 && isDigit(name[runStart - 1])) --runStart;
    if (runStart < name.size() && name[runStart - 1] == ' ') {
        const std::string digits = name.substr(runStart);
        const std::int64_t number = digitsValue(digits);
        // A number that cannot grow any more gets the word appended instead, so the next
        // candidate always differs from the name it was made from.
        if (endsWith(name, platform::format(" %@ %@", copyWord, digits)) &&
            number < std::numeric_limits<std::int64_t>::max()) {
            return platform::format("%@%ld", name.substr(0, runStart),
                                    static_cast<long long>(number + 1));
        }
    }
    return platform::format("%@ %@", name, copyWord);
}

}  // namespace qvt::engine
