#include "progress_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace qvt::cli {

std::string progressBytesText(std::uint64_t bytes) {
    char text[48];
    if (bytes < 1000) {
        std::snprintf(text, sizeof text, "%llu %s", static_cast<unsigned long long>(bytes),
                      bytes == 1 ? "byte" : "bytes");
        return text;
    }
    static const char* const units[] = {"KB", "MB", "GB", "TB", "PB", "EB"};
    auto value = static_cast<double>(bytes) / 1000.0;
    std::size_t k = 0;
    // 999.96 KB would print as "1000.0 KB": such a value reads as the next unit already.
    while (value >= 999.95 && k + 1 < sizeof units / sizeof *units) {
        value /= 1000.0;
        ++k;
    }
    std::snprintf(text, sizeof text, "%.1f %s", value, units[k]);
    return text;
}

std::string countText(std::uint64_t count, const char* singular, const char* plural) {
    return std::to_string(count) + " " + (count == 1 ? singular : plural);
}

std::string sourcesText(std::uint64_t folders, std::uint64_t files, std::uint64_t bytes) {
    std::string text;
    // Loose files alone say nothing about folders.
    if (folders != 0) text = countText(folders, "folder", "folders") + ", ";
    return text + countText(files, "file", "files") + ", " + progressBytesText(bytes);
}

std::string progressBar(std::uint64_t done, std::uint64_t total) {
    constexpr int kCells = 20;
    // In hundredths, without overflowing for the largest counts.
    const long double share = total == 0 ? 1.0L
                                         : static_cast<long double>(std::min(done, total)) /
                                               static_cast<long double>(total);
    const int cells = static_cast<int>(share * kCells);
    const int percent = static_cast<int>(share * 100);
    char text[48];
    std::snprintf(text, sizeof text, "[%s%s] %3d%%", std::string(cells, '#').c_str(),
                  std::string(kCells - cells, '-').c_str(), percent);
    return text;
}

std::string durationText(double seconds) {
    if (!std::isfinite(seconds) || seconds < 0) seconds = 0;
    char text[48];
    if (seconds < 10) {
        std::snprintf(text, sizeof text, "%.1f s", seconds);
        return text;
    }
    const auto whole = static_cast<unsigned long long>(std::llround(seconds));
    if (whole < 60) {
        std::snprintf(text, sizeof text, "%llu s", whole);
    } else if (whole < 3600) {
        std::snprintf(text, sizeof text, "%llu min %llu s", whole / 60, whole % 60);
    } else {
        std::snprintf(text, sizeof text, "%llu h %llu min", whole / 3600, whole % 3600 / 60);
    }
    return text;
}

}  // namespace qvt::cli
