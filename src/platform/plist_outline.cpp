#include "platform/plist_outline.h"

#include <libxml/parser.h>
#include <libxml/xmlreader.h>

#include <cstring>
#include <memory>
#include <mutex>
#include <set>

namespace qvt::platform {

namespace {

constexpr int kElement = XML_READER_TYPE_ELEMENT;
constexpr int kEnd = XML_READER_TYPE_END_ELEMENT;

// A cursor over the file's elements: text, blanks, comments and the document type are passed
// over; every step fails on a damaged file.
class Cursor {
  public:
    explicit Cursor(const std::string& path)
        : reader_(xmlReaderForFile(path.c_str(), nullptr,
                                   XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING)) {}
    ~Cursor() {
        if (reader_) xmlFreeTextReader(reader_);
    }
    Cursor(const Cursor&) = delete;
    Cursor& operator=(const Cursor&) = delete;

    bool open() const { return reader_ != nullptr; }

    // Moves into or past the current node, to the next element start or end.
    bool read() { return xmlTextReaderRead(reader_) == 1 && settle(); }
    // Moves past the current element and everything in it, to the next element start or end.
    bool skip() { return xmlTextReaderNext(reader_) == 1 && settle(); }

    bool isStart(const char* name) const { return type() == kElement && is(name); }
    bool isEnd() const { return type() == kEnd; }
    bool isEmpty() const { return xmlTextReaderIsEmptyElement(reader_) == 1; }
    bool is(const char* name) const {
        const xmlChar* n = xmlTextReaderConstLocalName(reader_);
        return n && std::strcmp(reinterpret_cast<const char*>(n), name) == 0;
    }
    int depth() const { return xmlTextReaderDepth(reader_); }

    // The text of the current element, which is left where it is.
    std::optional<std::string> text() {
        if (isEmpty()) return std::string();
        xmlChar* s = xmlTextReaderReadString(reader_);
        if (!s) return std::nullopt;
        std::string out(reinterpret_cast<const char*>(s));
        xmlFree(s);
        return out;
    }

    // Whether the rest of the file is well formed.
    bool restIsWellFormed() {
        int rc = 0;
        while ((rc = xmlTextReaderRead(reader_)) == 1) {
        }
        return rc == 0;
    }

  private:
    int type() const { return xmlTextReaderNodeType(reader_); }
    bool settle() {
        while (type() != kElement && type() != kEnd)
            if (xmlTextReaderRead(reader_) != 1) return false;
        return true;
    }
    xmlTextReaderPtr reader_;
};

// Reads one record, the cursor at its start, and leaves the cursor after it.
bool readRecord(Cursor& c, RecordOutline& out) {
    if (!c.isStart("dict")) return false;
    if (c.isEmpty()) return c.read();
    if (!c.read()) return false;
    std::set<std::string> keys;
    while (!c.isEnd()) {
        if (!c.isStart("key")) return false;
        const auto key = c.text();
        if (!key || !keys.insert(*key).second || !c.skip()) return false;
        if (c.isEnd()) return false;
        out.empty = false;
        if (*key == "isFileTransferCompleted") {
            if (!c.isStart("true") && !c.isStart("false")) return false;
            out.completed = c.is("true");
        } else if (*key == "deviceType") {
            if (!c.isStart("string")) return false;
            const auto text = c.text();
            if (!text) return false;
            out.deviceType = *text;
        } else if (*key == "sourceFilesPendingArray") {
            if (!c.isStart("array")) return false;
            if (!c.isEmpty()) {
                const int depth = c.depth();
                if (!c.read()) return false;
                out.pendingWork = !c.isEnd();
                // Past the entries, without keeping any of them.
                while (!(c.isEnd() && c.depth() == depth))
                    if (!c.skip()) return false;
            }
        }
        if (!c.skip()) return false;
    }
    // Past the record's end.
    return c.read();
}

}  // namespace

std::optional<std::vector<RecordOutline>> readRecordOutlines(const std::string& path) {
    static std::once_flag once;
    std::call_once(once, [] { xmlInitParser(); });
    Cursor c(path);
    if (!c.open() || !c.read() || !c.isStart("plist") || c.isEmpty() || !c.read() ||
        !c.isStart("dict"))
        return std::nullopt;
    std::vector<RecordOutline> records;
    if (c.isEmpty()) return c.restIsWellFormed() ? std::optional(records) : std::nullopt;
    if (!c.read()) return std::nullopt;
    std::set<std::string> keys;
    while (!c.isEnd()) {
        if (!c.isStart("key")) return std::nullopt;
        RecordOutline record;
        const auto key = c.text();
        if (!key || !keys.insert(*key).second || !c.skip()) return std::nullopt;
        record.key = *key;
        if (!readRecord(c, record)) return std::nullopt;
        records.push_back(std::move(record));
    }
    // The root's end, the plist's end, and nothing damaged after them.
    if (!c.read() || !c.isEnd() || !c.is("plist")) return std::nullopt;
    if (!c.restIsWellFormed()) return std::nullopt;
    return records;
}

}  // namespace qvt::platform
