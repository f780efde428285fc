// The arithmetic and wording of the remaining-time estimate, kept free of the controller so
// every rounding rule can be checked on its own.
#pragma once

#include <cstdint>
#include <string>

namespace qvt::engine {

// The localised unit formats, each with one "%@" for a number made with "%ld".
struct TimeUnitTexts {
    std::string second, seconds, minute, minutes, hour, hours;
};

// Seconds still to go at the average rate so far: (S - T) * E / T in unsigned 64-bit
// arithmetic (a T above S wraps to an absurd value on purpose); T = 0 gives 0.
std::uint64_t estimateRemainingSeconds(std::uint64_t totalBytes, std::uint64_t doneBytes,
                                       std::uint64_t elapsedSeconds);

// An estimate split into whole minutes and the seconds left over.
struct RemainingSplit {
    std::uint64_t minutes = 0;
    std::uint64_t seconds = 0;
};
RemainingSplit splitRemainingSeconds(std::uint64_t remaining);

// The time text for an estimate: seconds under a minute; one minute (the seconds never round
// it up); whole minutes rounded up from 31 seconds; whole hours rounded up from 31 minutes.
// Days are never used: hours grow without limit.
std::string remainingTimeText(std::uint64_t remaining, const TimeUnitTexts& units);

// Whether a pass with this estimate writes a new status text. An estimate of a whole number of
// minutes (seconds part 0) leaves the previous text in place.
bool remainingTimeRefreshesText(std::uint64_t remaining);

}  // namespace qvt::engine
