// One JSON object per line for scripts (--json): the events of an upload as they happen.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace qvt::cli {

using JsonField =
    std::pair<std::string, std::variant<std::string, std::int64_t, std::uint64_t, double, bool>>;

// `text` as a JSON string, quotes included. Bytes that are not valid UTF-8 (a file name may
// hold them) are written as U+FFFD, so every line stays valid JSON.
std::string jsonString(const std::string& text);

// {"event":"<event>", field: value, ...} on one line, without the newline.
std::string jsonEvent(const std::string& event, const std::vector<JsonField>& fields);

// Writes the event to stdout with its newline, and flushes it.
void emitJsonEvent(const std::string& event, const std::vector<JsonField>& fields);

}  // namespace qvt::cli
