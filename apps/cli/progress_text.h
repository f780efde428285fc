// Texts of the console's progress line.
#pragma once

#include <cstdint>
#include <string>

namespace qvt::cli {

// A byte count as a person reads it on a progress line: whole bytes below a kilobyte, then one
// decimal in decimal units ("0 bytes", "999 bytes", "1.0 KB", "12.3 MB", "1.1 GB").
std::string progressBytesText(std::uint64_t bytes);

}  // namespace qvt::cli
