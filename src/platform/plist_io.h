// Reading and writing property-list files with libplist.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "qvtransfer/Value.h"

namespace qvt::platform {

// Reads an XML or binary property list. Nothing when the file is missing or unreadable.
std::optional<Value> readPropertyList(const std::string& path);
std::optional<Value> parsePropertyList(const std::string& bytes);

// Writes `value` as an XML property list, atomically and durably: a temporary file in the same
// folder, flushed and fsync'ed, renamed over the old file, then the folder fsync'ed. A reader
// sees either the old or the new file. Returns false (and leaves the old file) on failure.
// `value` is taken by value and released as soon as libplist holds its own copy, so a caller
// that moves a large record in never holds three copies of it at once.
bool writePropertyList(const std::string& path, Value value);
std::string toXmlPropertyList(const Value& value);

// Strings written into the file one at a time where the value holds the string `placeholder`
// (alone in its array), so that a long list is never in memory whole. `forEach` hands every
// string to its argument, in order, and returns false when it cannot give them all; the write
// then fails and the old file stays.
struct StreamedStrings {
    std::string placeholder;
    std::function<bool(const std::function<bool(std::string_view)>&)> forEach;
};
bool writePropertyList(const std::string& path, Value value, const StreamedStrings& streamed);

// Test hook: when set, an atomic write stops right before its rename and fails, as a crash at
// that moment would.
void setFailBeforeRenameForTesting(bool fail);

}  // namespace qvt::platform
