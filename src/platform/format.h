// printf-style formats as the localised texts use them: "%@" for a string, "%ld", "%lu", "%d"
// and "%4.2f" for numbers, "%%" for a percent sign, and positional forms such as "%2$@" so that
// a translation can reorder its arguments.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "qvtransfer/Value.h"

namespace qvt::platform {

using FormatArg = std::variant<std::string, std::int64_t, std::uint64_t, double>;

// Fills `format` with `args`. A specifier without a matching argument is left out; a string
// given for a number (or the reverse) is converted rather than misread.
std::string formatText(const std::string& format, const std::vector<FormatArg>& args);

inline FormatArg arg(const std::string& s) {
    return s;
}
inline FormatArg arg(std::string_view s) {
    return std::string(s);
}
inline FormatArg arg(const char* s) {
    return std::string(s ? s : "");
}
inline FormatArg arg(long long n) {
    return static_cast<std::int64_t>(n);
}
inline FormatArg arg(long n) {
    return static_cast<std::int64_t>(n);
}
inline FormatArg arg(int n) {
    return static_cast<std::int64_t>(n);
}
inline FormatArg arg(unsigned long long n) {
    return static_cast<std::uint64_t>(n);
}
inline FormatArg arg(unsigned long n) {
    return static_cast<std::uint64_t>(n);
}
inline FormatArg arg(unsigned int n) {
    return static_cast<std::uint64_t>(n);
}
inline FormatArg arg(double d) {
    return d;
}
// A property-list value: numbers stay numbers, anything else is its text.
inline FormatArg arg(const Value& v) {
    if (v.isUnsigned()) return v.toUInt64();
    if (v.isInteger()) return v.toInt64();
    if (v.isReal()) return v.toDouble();
    return v.toString();
}

template <typename... Args>
std::string format(const std::string& fmt, const Args&... args) {
    return formatText(fmt, std::vector<FormatArg>{arg(args)...});
}

}  // namespace qvt::platform
