#include "platform/plist_io.h"

#include <dirent.h>
#include <fcntl.h>
#include <plist/plist.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <string_view>

namespace qvt::platform {

namespace {

std::atomic<bool> gFailBeforeRename{false};

// Property-list dates count seconds from 2001-01-01 00:00:00 UTC.
constexpr std::int64_t kPlistEpoch = 978307200;
// Nesting beyond this is no file the product writes; it is refused rather than recursed into.
constexpr int kMaxDepth = 256;

struct PlistDeleter {
    void operator()(plist_t p) const {
        if (p) plist_free(p);
    }
};
using PlistPtr = std::unique_ptr<void, PlistDeleter>;

std::string takeString(char* s) {
    if (!s) return {};
    std::string out(s);
    std::free(s);
    return out;
}

// libplist keeps every integer as 64 bits plus a note whether it was read as an unsigned value
// above the signed range. The note is not public, but it takes part in node comparison: a
// node equal to a fresh (signed) node of the same bits was signed.
bool isSignedNode(plist_t node, std::uint64_t bits) {
    PlistPtr reference(plist_new_uint(bits));
    return plist_compare_node_value(node, reference.get()) != 0;
}

bool toValue(plist_t node, Value& out, int depth);

Value integerValue(plist_t node) {
    std::uint64_t bits = 0;
    plist_get_uint_val(node, &bits);
    if (bits > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) &&
        !isSignedNode(node, bits))
        return Value(static_cast<unsigned long long>(bits));
    return Value(static_cast<long long>(static_cast<std::int64_t>(bits)));
}

Value dataValue(plist_t node) {
    char* bytes = nullptr;
    std::uint64_t length = 0;
    plist_get_data_val(node, &bytes, &length);
    Data data;
    if (bytes) data.assign(bytes, bytes + length);
    std::free(bytes);
    return Value(std::move(data));
}

Value dateValue(plist_t node) {
    std::int32_t sec = 0;
    std::int32_t usec = 0;
    plist_get_date_val(node, &sec, &usec);
    const auto since = std::chrono::seconds(kPlistEpoch + sec) + std::chrono::microseconds(usec);
    return Value(Date(std::chrono::duration_cast<Date::duration>(since)));
}

// The scalar types; false for a container or an unknown type.
bool scalarValue(plist_t node, Value& out) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            std::uint8_t b = 0;
            plist_get_bool_val(node, &b);
            out = Value(b != 0);
            return true;
        }
        case PLIST_UINT:
            out = integerValue(node);
            return true;
        case PLIST_UID: {
            std::uint64_t u = 0;
            plist_get_uid_val(node, &u);
            out = Value(static_cast<unsigned long long>(u));
            return true;
        }
        case PLIST_REAL: {
            double d = 0;
            plist_get_real_val(node, &d);
            out = Value(d);
            return true;
        }
        case PLIST_STRING: {
            // Read with its length: libplist's own getter stops the process on a string that
            // holds a NUL, which a damaged or forged file can. Such a string is no path or
            // name this program wrote, and cut at the NUL it would name another one: the file
            // is not read.
            std::uint64_t length = 0;
            const char* s = plist_get_string_ptr(node, &length);
            if (!s) {
                out = Value(std::string());
                return true;
            }
            if (std::memchr(s, '\0', length)) return false;
            out = Value(std::string(s, length));
            return true;
        }
        case PLIST_KEY: {
            char* s = nullptr;
            plist_get_key_val(node, &s);
            out = Value(takeString(s));
            return true;
        }
        case PLIST_DATA:
            out = dataValue(node);
            return true;
        case PLIST_DATE:
            out = dateValue(node);
            return true;
        default:
            return false;
    }
}

bool listValue(plist_t node, Value& out, int depth) {
    List list;
    const std::uint32_t n = plist_array_get_size(node);
    list.reserve(n);
    plist_array_iter it = nullptr;
    plist_array_new_iter(node, &it);
    bool ok = true;
    for (std::uint32_t i = 0; i < n && ok; ++i) {
        plist_t item = nullptr;
        plist_array_next_item(node, it, &item);
        if (!item) break;
        Value v;
        ok = toValue(item, v, depth + 1);
        if (ok) list.push_back(std::move(v));
    }
    std::free(it);
    if (ok) out = Value(std::move(list));
    return ok;
}

bool recordValue(plist_t node, Value& out, int depth) {
    // The iterator walks the entries in the order the file stores them.
    Record record;
    plist_dict_iter it = nullptr;
    plist_dict_new_iter(node, &it);
    bool ok = true;
    while (ok) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, it, &key, &item);
        std::string k = takeString(key);
        if (!item) break;
        Value v;
        ok = toValue(item, v, depth + 1);
        if (ok) record.set(std::move(k), std::move(v));
    }
    std::free(it);
    if (ok) out = Value(std::move(record));
    return ok;
}

bool toValue(plist_t node, Value& out, int depth) {
    if (depth > kMaxDepth) return false;
    switch (plist_get_node_type(node)) {
        case PLIST_ARRAY:
            return listValue(node, out, depth);
        case PLIST_DICT:
            return recordValue(node, out, depth);
        default:
            return scalarValue(node, out);
    }
}

// A node for an integer. Unsigned values above the signed range must carry libplist's
// "unsigned" note or they are written as negative numbers; only its parsers set the note, so
// such a value is made by parsing it.
plist_t integerNode(const Value& v) {
    if (v.isUnsigned()) {
        const std::uint64_t u = v.toUInt64();
        if (u > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
            const std::string xml =
                "<plist version=\"1.0\"><integer>" + std::to_string(u) + "</integer></plist>";
            plist_t node = nullptr;
            plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &node);
            return node;
        }
        return plist_new_uint(u);
    }
    return plist_new_uint(static_cast<std::uint64_t>(v.toInt64()));
}

plist_t dateNode(Date d) {
    const auto micros =
        std::chrono::duration_cast<std::chrono::microseconds>(d.time_since_epoch()).count() -
        kPlistEpoch * 1000000;
    // Floor division, so a date before the epoch keeps a usec part in [0, 1e6).
    std::int64_t sec = micros / 1000000;
    std::int64_t usec = micros % 1000000;
    if (usec < 0) {
        usec += 1000000;
        sec -= 1;
    }
    // libplist holds the seconds in 32 bits (1933 to 2069).
    if (sec > std::numeric_limits<std::int32_t>::max()) {
        sec = std::numeric_limits<std::int32_t>::max();
        usec = 0;
    }
    if (sec < std::numeric_limits<std::int32_t>::min()) {
        sec = std::numeric_limits<std::int32_t>::min();
        usec = 0;
    }
    return plist_new_date(static_cast<std::int32_t>(sec), static_cast<std::int32_t>(usec));
}

// The node for `v`, or nullptr for a value a property list cannot hold (a null). Containers
// leave such values out.
plist_t toNode(const Value& v, int depth) {
    if (depth > kMaxDepth) return nullptr;
    const auto& s = v.storage();
    if (const auto* str = std::get_if<std::string>(&s)) return plist_new_string(str->c_str());
    if (v.isInteger()) return integerNode(v);
    if (const auto* d = std::get_if<double>(&s)) return plist_new_real(*d);
    if (const auto* b = std::get_if<bool>(&s)) return plist_new_bool(*b ? 1 : 0);
    if (const auto* date = v.asDate()) return dateNode(*date);
    if (const auto* data = v.asData())
        return plist_new_data(reinterpret_cast<const char*>(data->data()), data->size());
    if (const auto* list = v.asList()) {
        plist_t array = plist_new_array();
        for (const Value& item : *list)
            if (plist_t node = toNode(item, depth + 1)) plist_array_append_item(array, node);
        return array;
    }
    if (const auto* record = v.asRecord()) {
        plist_t dict = plist_new_dict();
        for (const auto& [key, item] : *record)
            if (plist_t node = toNode(item, depth + 1))
                plist_dict_set_item(dict, key.c_str(), node);
        return dict;
    }
    return nullptr;
}

std::optional<std::string> readAll(const std::string& path) {
    if (path.rfind(":/", 0) == 0) {
        QFile file(QString::fromStdString(path));
        if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
        const QByteArray bytes = file.readAll();
        return std::string(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    }
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return std::nullopt;
    std::string out;
    char buf[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            ::close(fd);
            return std::nullopt;
        }
        if (n == 0) break;
        out.append(buf, static_cast<std::size_t>(n));
        // libplist takes 32-bit lengths; nothing this size is a property list of ours.
        if (out.size() > std::numeric_limits<std::uint32_t>::max()) {
            ::close(fd);
            return std::nullopt;
        }
    }
    ::close(fd);
    return out;
}

bool writeAll(int fd, std::string_view bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

void splitPath(const std::string& path, std::string& folder, std::string& name) {
    const auto slash = path.rfind('/');
    if (slash == std::string::npos) {
        folder = ".";
        name = path;
    } else {
        folder = slash == 0 ? "/" : path.substr(0, slash);
        name = path.substr(slash + 1);
    }
}

// Temporary files are named ".<name>.qvt-<pid>-XXXXXX" next to the target.
std::string tempPrefix(const std::string& name) {
    return "." + name + ".qvt-";
}

// Removes temporary files that an earlier write of `name` left behind when the process died
// (or, in a test, stopped) between writing and renaming. Another live process's file is left
// alone; this process's own are stale, because its writes never overlap (one lock).
void removeStaleTemporaries(const std::string& folder, const std::string& name) {
    DIR* dir = ::opendir(folder.c_str());
    if (!dir) return;
    const std::string prefix = tempPrefix(name);
    const pid_t self = ::getpid();
    while (const dirent* entry = ::readdir(dir)) {
        const std::string file = entry->d_name;
        if (file.rfind(prefix, 0) != 0) continue;
        const std::string rest = file.substr(prefix.size());
        char* end = nullptr;
        const long pid = std::strtol(rest.c_str(), &end, 10);
        if (end == rest.c_str() || *end != '-' || pid <= 0) continue;
        const bool alive =
            pid != self && (::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM);
        if (!alive) ::unlink((folder + "/" + file).c_str());
    }
    ::closedir(dir);
}

std::mutex& writeMutex() {
    static std::mutex m;
    return m;
}

}  // namespace

std::optional<Value> parsePropertyList(const std::string& bytes) {
    if (bytes.empty() || bytes.size() > std::numeric_limits<std::uint32_t>::max())
        return std::nullopt;
    plist_t raw = nullptr;
    plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &raw);
    PlistPtr root(raw);
    if (!root) return std::nullopt;
    // A key with a NUL in it stops the process inside libplist when it is read. In XML text the
    // byte shows as it is; a binary list is looked at in XML first, where it shows too. Such a
    // file is not read.
    if (!plist_is_binary(bytes.data(), static_cast<std::uint32_t>(bytes.size()))) {
        if (std::memchr(bytes.data(), '\0', bytes.size())) return std::nullopt;
    } else {
        char* xml = nullptr;
        std::uint32_t length = 0;
        plist_to_xml(root.get(), &xml, &length);
        const bool holdsNul = !xml || std::memchr(xml, '\0', length) != nullptr;
        if (xml) plist_to_xml_free(xml);
        if (holdsNul) return std::nullopt;
    }
    Value v;
    if (!toValue(root.get(), v, 0)) return std::nullopt;
    return v;
}

std::optional<Value> readPropertyList(const std::string& path) {
    const auto bytes = readAll(path);
    if (!bytes) return std::nullopt;
    return parsePropertyList(*bytes);
}

namespace {

struct XmlFree {
    void operator()(char* xml) const { plist_to_xml_free(xml); }
};
using XmlText = std::unique_ptr<char, XmlFree>;

// The XML text of libplist's nodes; empty when there are none. The nodes are freed before the
// text is handed back.
XmlText toXml(PlistPtr root, std::uint32_t& length) {
    length = 0;
    if (!root) return {};
    char* xml = nullptr;
    plist_to_xml(root.get(), &xml, &length);
    return XmlText(xml);
}

}  // namespace

std::string toXmlPropertyList(const Value& value) {
    std::uint32_t length = 0;
    const XmlText xml = toXml(PlistPtr(toNode(value, 0)), length);
    if (!xml) return {};
    return std::string(xml.get(), length);
}

namespace {

// Writes the file through `write` (which gets the open temporary file) atomically and durably.
bool writeAtomically(const std::string& path, const std::function<bool(int fd)>& write) {
    std::string folder;
    std::string name;
    splitPath(path, folder, name);
    if (name.empty()) return false;

    std::lock_guard lock(writeMutex());
    removeStaleTemporaries(folder, name);

    std::string temp = folder + "/" + tempPrefix(name) + std::to_string(::getpid()) + "-XXXXXX";
    const int fd = ::mkostemp(temp.data(), O_CLOEXEC);
    if (fd < 0) return false;
    // mkstemp makes the file private; the property list gets the mode the old file had, or
    // the usual mode of a user's document.
    struct stat old {};
    const mode_t mode = ::stat(path.c_str(), &old) == 0 ? (old.st_mode & 07777) : 0644;
    bool ok = ::fchmod(fd, mode) == 0 && write(fd) && ::fsync(fd) == 0;
    ok = (::close(fd) == 0) && ok;
    if (!ok) {
        ::unlink(temp.c_str());
        return false;
    }
    if (gFailBeforeRename.load()) {
        // As a crash here would: the old file stays, and so does the temporary file, until the
        // next write of this file clears it away.
        return false;
    }
    if (::rename(temp.c_str(), path.c_str()) != 0) {
        ::unlink(temp.c_str());
        return false;
    }
    const int dirFd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dirFd >= 0) {
        // The rename itself is durable only once the folder is on disk.
        ::fsync(dirFd);
        ::close(dirFd);
    }
    return true;
}

// The XML of `value`; empty when it has no property-list form. The value is released as soon
// as libplist holds its own copy, so at most two forms of a large record are alive at once.
XmlText xmlOf(Value value, std::uint32_t& length) {
    PlistPtr root(toNode(value, 0));
    value = Value();
    return toXml(std::move(root), length);
}

// The text of a string element as libplist writes it: only these three are escaped.
void appendEscaped(std::string& out, std::string_view text) {
    for (const char ch : text) {
        switch (ch) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            default:
                out += ch;
        }
    }
}

}  // namespace

bool writePropertyList(const std::string& path, Value value) {
    if (path.empty() || path.rfind(":/", 0) == 0) return false;
    std::uint32_t length = 0;
    const XmlText xml = xmlOf(std::move(value), length);
    if (!xml || length == 0) return false;
    return writeAtomically(
        path, [&](int fd) { return writeAll(fd, std::string_view(xml.get(), length)); });
}

bool writePropertyList(const std::string& path, Value value, const StreamedStrings& streamed) {
    if (path.empty() || path.rfind(":/", 0) == 0 || streamed.placeholder.empty()) return false;
    std::uint32_t length = 0;
    const XmlText xml = xmlOf(std::move(value), length);
    if (!xml || length == 0) return false;
    const std::string_view text(xml.get(), length);

    // The placeholder's line is replaced by one line per string, with its indentation.
    std::string element;
    appendEscaped(element, streamed.placeholder);
    element = "<string>" + element + "</string>";
    const std::size_t at = text.find(element);
    if (at == std::string_view::npos) return false;
    const std::size_t lineStart = text.rfind('\n', at) + 1;
    const std::string_view indent = text.substr(lineStart, at - lineStart);
    std::size_t lineEnd = text.find('\n', at);
    lineEnd = lineEnd == std::string_view::npos ? text.size() : lineEnd + 1;

    return writeAtomically(path, [&](int fd) {
        if (!writeAll(fd, text.substr(0, lineStart))) return false;
        std::string block;
        bool written = true;
        const bool all = streamed.forEach([&](std::string_view item) {
            block += indent;
            block += "<string>";
            appendEscaped(block, item);
            block += "</string>\n";
            if (block.size() >= 64 * 1024) {
                written = writeAll(fd, block);
                block.clear();
            }
            return written;
        });
        return all && written && writeAll(fd, block) && writeAll(fd, text.substr(lineEnd));
    });
}

void setFailBeforeRenameForTesting(bool fail) {
    gFailBeforeRename.store(fail);
}

}  // namespace qvt::platform
