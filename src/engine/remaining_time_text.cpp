#include "engine/remaining_time_text.h"

#include "platform/format.h"

namespace qvt::engine {

namespace {

// Numbers go into the unit texts as strings made with "%ld".
std::string count(const std::string& unitFormat, std::uint64_t n) {
    const std::string number = platform::format("%ld", static_cast<long long>(n));
    return platform::format(unitFormat, number);
}

}  // namespace

std::uint64_t estimateRemainingSeconds(std::uint64_t totalBytes, std::uint64_t doneBytes,
                                       std::uint64_t elapsedSeconds) {
    if (doneBytes == 0) return 0;
    // Unsigned arithmetic wraps rather than overflows, so a done count above the total yields
    // a nonsense estimate instead of undefined behaviour.
    return (totalBytes - doneBytes) * elapsedSeconds / doneBytes;
}

RemainingSplit splitRemainingSeconds(std::uint64_t remaining) {
    if (remaining < 60) return {0, remaining};
    return {remaining / 60, remaining % 60};
}

std::string remainingTimeText(std::uint64_t remaining, const TimeUnitTexts& units) {
    const RemainingSplit split = splitRemainingSeconds(remaining);
    const std::uint64_t m = split.minutes;
    const std::uint64_t s = split.seconds;
    if (m == 0) return s == 1 ? count(units.second, 1) : count(units.seconds, s);
    if (m == 1) return count(units.minute, 1);
    if (m < 60) return count(units.minutes, s >= 31 ? m + 1 : m);
    const std::uint64_t minuteInHour = m % 60;
    const std::uint64_t hours = m / 60;
    if (minuteInHour <= 30) return hours == 1 ? count(units.hour, 1) : count(units.hours, hours);
    return count(units.hours, hours + 1);
}

bool remainingTimeRefreshesText(std::uint64_t remaining) {
    return splitRemainingSeconds(remaining).seconds != 0;
}

}  // namespace qvt::engine
