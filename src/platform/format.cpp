#include "platform/format.h"

#include <locale.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace qvt::platform {

namespace {

// Widths and precisions are capped: a translated text that asks for a billion columns gets a
// long line, not an allocation failure.
constexpr int kMaxField = 4096;
// Positional indexes beyond this can never name an argument.
constexpr std::size_t kMaxPosition = 100000;

struct Specifier {
    std::string flags;
    int width = -1;
    int precision = -1;
    char conversion = 0;
    std::size_t position = 0;  // 1-based; 0 when the specifier takes the next argument
};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Reads a decimal number at `i`, saturating at `cap`.
std::size_t readNumber(const std::string& s, std::size_t& i, std::size_t cap) {
    std::size_t n = 0;
    while (i < s.size() && isDigit(s[i])) {
        n = n * 10 + static_cast<std::size_t>(s[i] - '0');
        if (n > cap) n = cap;
        ++i;
    }
    return n;
}

// Parses the specifier whose "%" is at `start`. On success fills `sp` and returns the index
// just past it; returns `start` when the text is no specifier.
std::size_t parseSpecifier(const std::string& f, std::size_t start, Specifier& sp) {
    std::size_t i = start + 1;
    // Positional "%2$...": digits directly followed by "$".
    std::size_t j = i;
    if (j < f.size() && isDigit(f[j]) && f[j] != '0') {
        const std::size_t n = readNumber(f, j, kMaxPosition + 1);
        if (j < f.size() && f[j] == '$') {
            sp.position = n;
            i = j + 1;
        }
    }
    while (i < f.size()) {
        const char c = f[i];
        if (c == '-' || c == '+' || c == ' ' || c == '#' || c == '0') {
            if (sp.flags.find(c) == std::string::npos) sp.flags += c;
        } else if (c != '\'') {  // digit grouping is accepted and ignored
            break;
        }
        ++i;
    }
    if (i < f.size() && isDigit(f[i]))
        sp.width = static_cast<int>(readNumber(f, i, static_cast<std::size_t>(kMaxField)));
    if (i < f.size() && f[i] == '.') {
        ++i;
        sp.precision = static_cast<int>(readNumber(f, i, static_cast<std::size_t>(kMaxField)));
    }
    // Length modifiers only say how wide the C argument was; arguments here carry their type.
    while (i < f.size() && std::string_view("hlqLjzt").find(f[i]) != std::string_view::npos) ++i;
    if (i >= f.size()) return start;
    const char conv = f[i];
    if (std::string_view("@sdiuxXofFeEgGaAc").find(conv) == std::string_view::npos) return start;
    sp.conversion = conv;
    return i + 1;
}

std::size_t codePoints(const std::string& s) {
    std::size_t n = 0;
    for (char c : s)
        if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) ++n;
    return n;
}

// The first `count` code points of `s`.
std::string firstCodePoints(const std::string& s, std::size_t count) {
    std::size_t seen = 0;
    for (std::size_t i = 0; i < s.size(); ++i) {
        if ((static_cast<unsigned char>(s[i]) & 0xC0) != 0x80) {
            if (seen == count) return s.substr(0, i);
            ++seen;
        }
    }
    return s;
}

std::string utf8(std::uint32_t cp) {
    std::string out;
    if (cp == 0 || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return out;
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
    return out;
}

std::string shortestDouble(double d) {
    if (std::isnan(d)) return "nan";
    if (std::isinf(d)) return d < 0 ? "-inf" : "inf";
    char buf[64];
    const auto r = std::to_chars(buf, buf + sizeof buf, d);
    return std::string(buf, r.ptr);
}

std::string asText(const FormatArg& a) {
    if (const auto* s = std::get_if<std::string>(&a)) return *s;
    if (const auto* i = std::get_if<std::int64_t>(&a)) return std::to_string(*i);
    if (const auto* u = std::get_if<std::uint64_t>(&a)) return std::to_string(*u);
    return shortestDouble(std::get<double>(a));
}

double asDouble(const FormatArg& a) {
    if (const auto* d = std::get_if<double>(&a)) return *d;
    if (const auto* i = std::get_if<std::int64_t>(&a)) return static_cast<double>(*i);
    if (const auto* u = std::get_if<std::uint64_t>(&a)) return static_cast<double>(*u);
    // Text is read with "." as the decimal point whatever the process locale; no number is 0.
    const std::string& s = std::get<std::string>(a);
    const char* p = s.data();
    const char* end = s.data() + s.size();
    while (p < end && (*p == ' ' || *p == '\t' || *p == '\n')) ++p;
    if (p < end && *p == '+') ++p;
    double d = 0;
    if (std::from_chars(p, end, d).ec != std::errc()) return 0;
    return d;
}

std::int64_t clampToInt64(double d) {
    if (std::isnan(d)) return 0;
    if (d >= 9223372036854775808.0) return std::numeric_limits<std::int64_t>::max();
    if (d <= -9223372036854775808.0) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(d);
}

// A signed argument; `isLargeUnsigned` is set for an unsigned value above the signed range,
// which is then printed as the unsigned number it is.
std::int64_t asSigned(const FormatArg& a, bool& isLargeUnsigned, std::uint64_t& unsignedValue) {
    isLargeUnsigned = false;
    if (const auto* i = std::get_if<std::int64_t>(&a)) return *i;
    if (const auto* u = std::get_if<std::uint64_t>(&a)) {
        if (*u > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
            isLargeUnsigned = true;
            unsignedValue = *u;
            return 0;
        }
        return static_cast<std::int64_t>(*u);
    }
    if (const auto* d = std::get_if<double>(&a)) return clampToInt64(*d);
    // strtoll saturates on overflow and gives 0 for text without a leading number.
    return std::strtoll(std::get<std::string>(a).c_str(), nullptr, 10);
}

std::uint64_t asUnsigned(const FormatArg& a) {
    if (const auto* u = std::get_if<std::uint64_t>(&a)) return *u;
    // A negative signed value reads as its two's complement, as printf's %lu shows it.
    if (const auto* i = std::get_if<std::int64_t>(&a)) return static_cast<std::uint64_t>(*i);
    if (const auto* d = std::get_if<double>(&a)) {
        if (std::isnan(*d)) return 0;
        if (*d >= 18446744073709551616.0) return std::numeric_limits<std::uint64_t>::max();
        if (*d < 0) return static_cast<std::uint64_t>(clampToInt64(*d));
        return static_cast<std::uint64_t>(*d);
    }
    const std::string& s = std::get<std::string>(a);
    const char* p = s.c_str();
    while (*p == ' ' || *p == '\t' || *p == '\n') ++p;
    if (*p == '-') return static_cast<std::uint64_t>(std::strtoll(s.c_str(), nullptr, 10));
    return std::strtoull(s.c_str(), nullptr, 10);
}

// The C locale, so numbers always use "." whatever locale the host application set.
locale_t cLocale() {
    static const locale_t loc = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return loc;
}

// snprintf with a format built here from validated parts only.
template <typename T>
std::string printC(const Specifier& sp, const char* lengthModifier, char conversion, T value) {
    std::string flags = sp.flags;
    // C leaves "#" undefined for decimal conversions; it means nothing there anyway.
    if (conversion == 'd' || conversion == 'u') std::erase(flags, '#');
    std::string cf = "%" + flags;
    if (sp.width >= 0) cf += std::to_string(sp.width);
    if (sp.precision >= 0) {
        // Appended piece by piece: GCC 12 at -O3 takes "." + std::to_string(...) for an
        // overlapping copy (a false -Wrestrict).
        cf += '.';
        cf += std::to_string(sp.precision);
    }
    cf += lengthModifier;
    cf += conversion;
    const locale_t loc = cLocale();
    const locale_t previous = loc ? uselocale(loc) : static_cast<locale_t>(nullptr);
    std::string out;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const int n = std::snprintf(nullptr, 0, cf.c_str(), value);
    if (n > 0) {
        out.resize(static_cast<std::size_t>(n) + 1);
        std::snprintf(out.data(), out.size(), cf.c_str(), value);
        out.resize(static_cast<std::size_t>(n));
    }
#pragma GCC diagnostic pop
    if (loc) uselocale(previous);
    return out;
}

std::string pad(const Specifier& sp, std::string text) {
    if (sp.width < 0) return text;
    const std::size_t len = codePoints(text);
    const auto width = static_cast<std::size_t>(sp.width);
    if (len >= width) return text;
    const std::string fill(width - len, ' ');
    return sp.flags.find('-') != std::string::npos ? text + fill : fill + text;
}

std::string formatOne(const Specifier& sp, const FormatArg& a) {
    switch (sp.conversion) {
        case '@':
        case 's': {
            std::string text = asText(a);
            if (sp.precision >= 0)
                text = firstCodePoints(text, static_cast<std::size_t>(sp.precision));
            return pad(sp, std::move(text));
        }
        case 'c': {
            if (const auto* s = std::get_if<std::string>(&a))
                return pad(sp, firstCodePoints(*s, 1));
            bool large = false;
            std::uint64_t u = 0;
            const std::int64_t v = asSigned(a, large, u);
            return pad(sp,
                       large || v < 0
                           ? std::string()
                           : utf8(static_cast<std::uint32_t>(std::min<std::int64_t>(v, 0x110000))));
        }
        case 'd':
        case 'i': {
            bool large = false;
            std::uint64_t u = 0;
            const std::int64_t v = asSigned(a, large, u);
            if (large) return printC(sp, "ll", 'u', static_cast<unsigned long long>(u));
            return printC(sp, "ll", 'd', static_cast<long long>(v));
        }
        case 'u':
        case 'x':
        case 'X':
        case 'o':
            return printC(sp, "ll", sp.conversion, static_cast<unsigned long long>(asUnsigned(a)));
        default:
            return printC(sp, "", sp.conversion, asDouble(a));
    }
}

}  // namespace

std::string formatText(const std::string& format, const std::vector<FormatArg>& args) {
    std::string out;
    out.reserve(format.size() + 16 * args.size());
    std::size_t next = 0;  // the argument a non-positional specifier takes
    std::size_t i = 0;
    while (i < format.size()) {
        const char c = format[i];
        if (c != '%') {
            out += c;
            ++i;
            continue;
        }
        if (i + 1 < format.size() && format[i + 1] == '%') {
            out += '%';
            i += 2;
            continue;
        }
        Specifier sp;
        const std::size_t end = parseSpecifier(format, i, sp);
        if (end == i) {
            // Not a specifier ("%" at the end, an unknown conversion): kept as written.
            out += '%';
            ++i;
            continue;
        }
        std::size_t index = 0;
        bool have = false;
        if (sp.position > 0) {
            index = sp.position - 1;
            have = sp.position <= kMaxPosition && index < args.size();
        } else {
            index = next++;
            have = index < args.size();
        }
        if (have) out += formatOne(sp, args[index]);
        i = end;
    }
    return out;
}

}  // namespace qvt::platform
