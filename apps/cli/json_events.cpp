#include "json_events.h"

#include <cmath>
#include <cstdio>

#include "platform/smb_names.h"

namespace qvt::cli {

namespace {

// The length of the valid UTF-8 sequence at `i`, or 0.
std::size_t utf8Length(const std::string& text, std::size_t i) {
    const auto lead = static_cast<unsigned char>(text[i]);
    std::size_t n = 0;
    if (lead < 0x80) return 1;
    if ((lead & 0xE0) == 0xC0)
        n = 2;
    else if ((lead & 0xF0) == 0xE0)
        n = 3;
    else if ((lead & 0xF8) == 0xF0)
        n = 4;
    else
        return 0;
    if (i + n > text.size()) return 0;
    return platform::smb::isValidUtf8(text.substr(i, n)) ? n : 0;
}

}  // namespace

std::string jsonString(const std::string& text) {
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size();) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
            ++i;
        } else if (c < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            out += escaped;
            ++i;
        } else if (const std::size_t n = utf8Length(text, i)) {
            out.append(text, i, n);
            i += n;
        } else {
            out += "\xEF\xBF\xBD";  // U+FFFD for a byte that is not UTF-8
            ++i;
        }
    }
    out += '"';
    return out;
}

std::string jsonEvent(const std::string& event, const std::vector<JsonField>& fields) {
    std::string out = "{\"event\":" + jsonString(event);
    for (const auto& [key, value] : fields) {
        out += ',' + jsonString(key) + ':';
        if (const auto* s = std::get_if<std::string>(&value)) {
            out += jsonString(*s);
        } else if (const auto* i = std::get_if<std::int64_t>(&value)) {
            out += std::to_string(*i);
        } else if (const auto* u = std::get_if<std::uint64_t>(&value)) {
            out += std::to_string(*u);
        } else if (const auto* d = std::get_if<double>(&value)) {
            char number[32];
            std::snprintf(number, sizeof number, "%.3f", std::isfinite(*d) ? *d : 0.0);
            out += number;
        } else {
            out += std::get<bool>(value) ? "true" : "false";
        }
    }
    out += '}';
    return out;
}

void emitJsonEvent(const std::string& event, const std::vector<JsonField>& fields) {
    std::printf("%s\n", jsonEvent(event, fields).c_str());
    std::fflush(stdout);
}

}  // namespace qvt::cli
