#include "device/xml_record.h"

#include <libxml/parser.h>

#include <climits>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <unordered_set>

#include "platform/format.h"

namespace qvt::device {

namespace {

bool isElement(const xmlNode* node) {
    return node && node->type == XML_ELEMENT_NODE;
}

bool isText(const xmlNode* node) {
    return node && (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE);
}

// The children of an entity reference are the entity's own declaration, shared by every
// reference to it; following them would expand the entity, which is exactly what the parser
// is told not to do. So an entity reference counts as a node without children.
const xmlNode* firstChild(const xmlNode* node) {
    if (!node || node->type == XML_ENTITY_REF_NODE || node->type == XML_ENTITY_DECL) return nullptr;
    return node->children;
}

bool isBlank(const xmlChar* content) {
    if (!content) return true;
    for (const xmlChar* p = content; *p; ++p)
        if (*p != ' ' && *p != '\t' && *p != '\n' && *p != '\r') return false;
    return true;
}

// Removes whitespace-only text nodes from every element that also has element children: the
// indentation of a pretty-printed reply. An element that holds only text keeps its text, even
// when it is blank. The walk follows parent and sibling links, so it needs no stack however
// deep the document is.
void dropIndentation(xmlNode* root) {
    xmlNode* node = root;
    while (node) {
        if (isElement(node)) {
            bool hasElementChild = false;
            for (xmlNode* c = node->children; c; c = c->next)
                if (isElement(c)) {
                    hasElementChild = true;
                    break;
                }
            if (hasElementChild) {
                for (xmlNode* c = node->children; c;) {
                    xmlNode* next = c->next;
                    if (c->type == XML_TEXT_NODE && isBlank(c->content)) {
                        xmlUnlinkNode(c);
                        xmlFreeNode(c);
                    }
                    c = next;
                }
            }
        }
        // Next node in document order, staying inside root.
        if (isElement(node) && node->children) {
            node = node->children;
            continue;
        }
        while (node && node != root && !node->next) node = node->parent;
        if (!node || node == root) break;
        node = node->next;
    }
}

// The string value of a node: the text of the node and of all its descendants, in document
// order. Iterative for the same reason as above.
std::string stringValue(const xmlNode* top) {
    std::string out;
    const xmlNode* node = top;
    while (node) {
        if (isText(node) && node->content) out += reinterpret_cast<const char*>(node->content);
        if (const xmlNode* child = firstChild(node)) {
            node = child;
            continue;
        }
        while (node && node != top && !node->next) node = node->parent;
        if (!node || node == top) break;
        node = node->next;
    }
    return out;
}

// Key choice for repeated names. Keys are only ever added, so a candidate found taken stays
// taken: remembering where the last search for a name ended keeps the search from starting
// at 1 again for every repetition, with the same result.
class KeyChooser {
  public:
    std::string choose(const std::string& name) {
        if (used_.insert(name).second) return name;
        int& counter = nextCounter_[name];
        if (counter < 1) counter = 1;
        for (;; ++counter) {
            std::string candidate = platform::format("%@_%d", name, counter);
            if (used_.insert(candidate).second) {
                ++counter;
                return candidate;
            }
        }
    }

  private:
    std::unordered_set<std::string> used_;
    std::unordered_map<std::string, int> nextCounter_;
};

Record convert(const xmlNode* element, int depth) {
    Record record;
    if (depth > kMaxDepth) return record;
    KeyChooser keys;
    std::size_t stored = 0;
    for (const xmlNode* child = firstChild(element); child && stored < kMaxChildEntries;
         child = child->next) {
        const xmlNode* probe = firstChild(child);
        const bool named = isElement(child) && child->name;
        if (probe && firstChild(probe)) {
            if (!named) continue;  // an unnamed structured child is dropped
            Record nested = convert(child, depth + 1);
            record.set(keys.choose(reinterpret_cast<const char*>(child->name)),
                       Value(std::move(nested)));
            ++stored;
        } else if (named) {
            record.set(keys.choose(reinterpret_cast<const char*>(child->name)),
                       Value(stringValue(child)));
            ++stored;
        }
    }
    return record;
}

struct DocDeleter {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};

void initialiseParserOnce() {
    static std::once_flag once;
    std::call_once(once, [] { xmlInitParser(); });
}

}  // namespace

std::optional<Record> dictionaryFromXMLNode(const xmlNode* element) {
    if (!element) return std::nullopt;
    return convert(element, 0);
}

std::optional<Record> recordFromXmlReply(std::string_view bytes) {
    if (bytes.empty() || bytes.size() > static_cast<std::size_t>(INT_MAX)) return std::nullopt;
    initialiseParserOnce();
    // Recover mode repairs what it can. No XML_PARSE_NOENT, XML_PARSE_DTDLOAD or
    // XML_PARSE_HUGE: entities stay references, no external file or URL is read, and the
    // parser's own limits (nesting depth among them) stay in force.
    const int options = XML_PARSE_RECOVER | XML_PARSE_NONET | XML_PARSE_NOBLANKS |
                        XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
    std::unique_ptr<xmlDoc, DocDeleter> doc(
        xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr, options));
    if (!doc) return std::nullopt;
    xmlNode* root = xmlDocGetRootElement(doc.get());
    if (!root) return std::nullopt;
    dropIndentation(root);
    return dictionaryFromXMLNode(root);
}

}  // namespace qvt::device
