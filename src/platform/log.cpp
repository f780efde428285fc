#include "platform/log.h"

#include <syslog.h>

#include <algorithm>
#include <string>

namespace qvt::platform {

namespace {

const std::string kPrefix = "QVTransfer: ";

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// The ways one byte of the secret may stand in the text at `pos`: as itself, percent-escaped,
// or (a blank) as "+". Appends the positions just after each way that matches.
void stepByte(const std::string& text, std::size_t pos, char byte, std::vector<std::size_t>& out) {
    if (pos >= text.size()) return;
    if (text[pos] == byte) out.push_back(pos + 1);
    if (text[pos] == '%' && pos + 2 < text.size()) {
        const int hi = hexDigit(text[pos + 1]);
        const int lo = hexDigit(text[pos + 2]);
        if (hi >= 0 && lo >= 0 &&
            static_cast<unsigned char>(hi * 16 + lo) == static_cast<unsigned char>(byte))
            out.push_back(pos + 3);
    }
    if (byte == ' ' && text[pos] == '+') out.push_back(pos + 1);
}

// The end of the longest spelling of `secret` that starts at `start`, or `start` when there is
// none. Tracks every position reachable after each byte, so escaped and literal spellings of a
// "%" in the secret are both tried without backtracking.
std::size_t matchEnd(const std::string& text, std::size_t start, const std::string& secret) {
    std::vector<std::size_t> positions{start};
    std::vector<std::size_t> next;
    for (char byte : secret) {
        next.clear();
        for (std::size_t p : positions) stepByte(text, p, byte, next);
        if (next.empty()) return start;
        std::sort(next.begin(), next.end());
        next.erase(std::unique(next.begin(), next.end()), next.end());
        positions.swap(next);
    }
    return *std::max_element(positions.begin(), positions.end());
}

// The longest line written. A reply describing a very large device (200,000 accounts) would
// otherwise make one line of hundreds of kilobytes, which the system log keeps or drops whole.
constexpr std::size_t kMostLineBytes = 4096;

// `line` cut to kMostLineBytes at a character boundary, with a note of what was left out.
std::string limited(std::string line) {
    if (line.size() <= kMostLineBytes) return line;
    const std::string note = " ... (" + std::to_string(line.size()) + " bytes in all)";
    std::size_t cut = kMostLineBytes - note.size();
    // Back to the start of a UTF-8 character: continuation bytes are 10xxxxxx.
    while (cut > 0 && (static_cast<unsigned char>(line[cut]) & 0xC0) == 0x80) --cut;
    line.resize(cut);
    return line + note;
}

}  // namespace

void Log::write(const std::string& message) {
    if (message.compare(0, kPrefix.size(), kPrefix) == 0)
        writeLine(limited(message));
    else
        writeLine(limited(kPrefix + message));
}

void SysLog::writeLine(const std::string& line) {
    // The message goes in as an argument, never as the format: a "%" in a path or a password
    // must not be read by syslog.
    ::syslog(LOG_USER | LOG_NOTICE, "%s", line.c_str());
}

std::string redact(std::string text, const std::string& secret) {
    if (secret.empty()) return text;
    std::string out;
    out.reserve(text.size());
    std::size_t i = 0;
    while (i < text.size()) {
        const std::size_t end = matchEnd(text, i, secret);
        if (end > i) {
            out += "***";
            i = end;
        } else {
            out += text[i];
            ++i;
        }
    }
    return out;
}

std::string redactAll(std::string text, const std::vector<std::string>& secrets) {
    // Longer secrets first, so a secret that contains another is hidden whole.
    std::vector<std::string> sorted = secrets;
    std::sort(sorted.begin(), sorted.end(),
              [](const std::string& a, const std::string& b) { return a.size() > b.size(); });
    for (const std::string& s : sorted) text = redact(std::move(text), s);
    return text;
}

}  // namespace qvt::platform
