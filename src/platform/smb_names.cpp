#include "platform/smb_names.h"

#include <cstdint>
#include <string_view>

namespace qvt::platform::smb {

namespace {

constexpr char32_t kMappedBase = 0xF000;
// The characters after the control characters, in the order of their private-use codes from
// U+F020 on.
constexpr std::string_view kMappedPunctuation = "\"*:<>?\\|";
constexpr char32_t kTrailingBlank = 0xF028;
constexpr char32_t kTrailingDot = 0xF029;

void appendUtf8(std::string& out, char32_t c) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
}

char32_t mappedCode(unsigned char c) {
    if (c >= 0x01 && c <= 0x1F) return kMappedBase + c;
    const auto at = kMappedPunctuation.find(static_cast<char>(c));
    return at == std::string_view::npos ? 0 : kMappedBase + 0x20 + static_cast<char32_t>(at);
}

}  // namespace

std::string toShareName(const std::string& name) {
    std::string out;
    out.reserve(name.size());
    for (std::size_t i = 0; i < name.size(); ++i) {
        const auto c = static_cast<unsigned char>(name[i]);
        const bool last = i + 1 == name.size();
        if (last && c == ' ') {
            appendUtf8(out, kTrailingBlank);
        } else if (last && c == '.' && name != "." && name != "..") {
            appendUtf8(out, kTrailingDot);
        } else if (const char32_t code = mappedCode(c)) {
            appendUtf8(out, code);
        } else {
            out += name[i];
        }
    }
    return out;
}

std::string fromShareName(const std::string& name) {
    std::string out;
    out.reserve(name.size());
    for (std::size_t i = 0; i < name.size(); ++i) {
        // U+F001..U+F029 are EF 80 81 .. EF 80 A9 in UTF-8.
        if (i + 2 < name.size() && static_cast<unsigned char>(name[i]) == 0xEF &&
            static_cast<unsigned char>(name[i + 1]) == 0x80) {
            const unsigned low = static_cast<unsigned char>(name[i + 2]) & 0x3F;
            const unsigned top = static_cast<unsigned char>(name[i + 2]) & 0xC0;
            if (top == 0x80 && low >= 0x01 && low <= 0x29) {
                char original = 0;
                if (low <= 0x1F)
                    original = static_cast<char>(low);
                else if (low < 0x28)
                    original = kMappedPunctuation[low - 0x20];
                else
                    original = low == 0x28 ? ' ' : '.';
                out += original;
                i += 2;
                continue;
            }
        }
        out += name[i];
    }
    return out;
}

bool isValidUtf8(const std::string& text) {
    std::size_t i = 0;
    while (i < text.size()) {
        const auto c = static_cast<unsigned char>(text[i]);
        std::size_t length = 0;
        char32_t code = 0;
        if (c < 0x80) {
            ++i;
            continue;
        } else if ((c & 0xE0) == 0xC0) {
            length = 2;
            code = c & 0x1F;
        } else if ((c & 0xF0) == 0xE0) {
            length = 3;
            code = c & 0x0F;
        } else if ((c & 0xF8) == 0xF0) {
            length = 4;
            code = c & 0x07;
        } else {
            return false;
        }
        if (i + length > text.size()) return false;
        for (std::size_t k = 1; k < length; ++k) {
            const auto next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0) != 0x80) return false;
            code = (code << 6) | (next & 0x3F);
        }
        // Overlong forms, surrogates and values beyond Unicode are not UTF-8.
        static constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
        if (code < kSmallest[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
            return false;
        i += length;
    }
    return true;
}

}  // namespace qvt::platform::smb
