#include "progress_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "console_texts.h"

namespace qvt::cli {

std::string progressBytesText(std::uint64_t bytes) {
    if (bytes < 1000) return consoleCountText("BYTES_n", bytes);
    static const char* const units[] = {"SIZE_KB", "SIZE_MB", "SIZE_GB",
                                        "SIZE_TB", "SIZE_PB", "SIZE_EB"};
    auto value = static_cast<double>(bytes) / 1000.0;
    std::size_t k = 0;
    // 999.96 KB would print as "1000.0 KB": such a value reads as the next unit already.
    while (value >= 999.95 && k + 1 < sizeof units / sizeof *units) {
        value /= 1000.0;
        ++k;
    }
    return consoleText(units[k], {decimalText(value, 1)});
}

std::string sourcesText(std::uint64_t folders, std::uint64_t files, std::uint64_t bytes) {
    std::string text;
    // Loose files alone say nothing about folders.
    if (folders != 0) text = consoleCountText("FOLDERS_n", folders) + ", ";
    return text + consoleCountText("FILES_n", files) + ", " + progressBytesText(bytes);
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
    if (seconds < 10) return consoleText("DURATION_SECONDS", {decimalText(seconds, 1)});
    const auto whole = static_cast<unsigned long long>(std::llround(seconds));
    if (whole < 60) return consoleText("DURATION_SECONDS", {std::to_string(whole)});
    if (whole < 3600)
        return consoleText("DURATION_MINUTES",
                           {std::to_string(whole / 60), std::to_string(whole % 60)});
    return consoleText("DURATION_HOURS",
                       {std::to_string(whole / 3600), std::to_string(whole % 3600 / 60)});
}

std::string printableText(const std::string& text, bool keepLineBreaks) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto ch = static_cast<unsigned char>(text[i]);
        char escape[8];
        if (ch == '\n' && keepLineBreaks) {
            out += '\n';
        } else if (ch == '\n') {
            out += "\\n";
        } else if (ch == '\t') {
            out += "\\t";
        } else if (ch < 0x20 || ch == 0x7f) {
            std::snprintf(escape, sizeof escape, "\\x%02x", ch);
            out += escape;
        } else if (ch == 0xc2 && i + 1 < text.size() &&
                   static_cast<unsigned char>(text[i + 1]) >= 0x80 &&
                   static_cast<unsigned char>(text[i + 1]) <= 0x9f) {
            // The C1 controls, U+0080 to U+009F, which some terminals obey too.
            std::snprintf(escape, sizeof escape, "\\u%04x",
                          static_cast<unsigned char>(text[i + 1]));
            out += escape;
            ++i;
        } else {
            out += static_cast<char>(ch);
        }
    }
    return out;
}

}  // namespace qvt::cli
