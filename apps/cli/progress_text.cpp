#include "progress_text.h"

#include <cstdio>

namespace qvt::cli {

std::string progressBytesText(std::uint64_t bytes) {
    char text[48];
    if (bytes < 1000) {
        std::snprintf(text, sizeof text, "%llu bytes", static_cast<unsigned long long>(bytes));
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

}  // namespace qvt::cli
