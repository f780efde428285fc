// Turning the device's XML replies into records, by the one conversion rule every reply goes
// through.
#pragma once

#include <optional>
#include <string_view>

#include <libxml/tree.h>

#include "qvtransfer/Value.h"

namespace qvt::device {

// Converts an element into a record; nothing for a missing element.
//
// Each child node is judged by its own first child (the probe): when the probe exists and has
// children of its own, the child is structured and converted the same way; otherwise it is a
// leaf whose value is the concatenated text of the child and all its descendants. Only
// elements have names; unnamed children (text, comments, entity references) are dropped. A
// name already used in the record is stored under "<name>_1", "<name>_2" and so on, the first
// one still free. Attributes never produce keys.
//
// Only the first kMaxChildEntries children of an element are stored (ordered records are
// searched linearly, so a reply with millions of siblings would stall the caller), and
// structure nested deeper than kMaxDepth levels is stored as an empty record.
std::optional<Record> dictionaryFromXMLNode(const xmlNode* element);

inline constexpr std::size_t kMaxChildEntries = 10000;
inline constexpr int kMaxDepth = 512;

// Parses a reply body leniently (malformed markup is repaired, never rejected) and converts its
// root element. Nothing for an empty body, a body that gives no document or a document
// without a root element. The parser never reaches the network, never loads a DTD and never
// substitutes entities; whitespace-only text between elements is ignored, so a pretty-printed
// reply converts exactly like the same reply on one line.
std::optional<Record> recordFromXmlReply(std::string_view bytes);

}  // namespace qvt::device
