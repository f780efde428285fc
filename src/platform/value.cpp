#include "qvtransfer/Value.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <sstream>

namespace qvt {

Record::Record(std::initializer_list<Entry> entries) {
    for (const auto& e : entries) set(e.first, e.second);
}

bool Record::contains(std::string_view key) const {
    return find(key) != nullptr;
}

const Value* Record::find(std::string_view key) const {
    for (const auto& e : entries_)
        if (e.first == key) return &e.second;
    return nullptr;
}

Value* Record::find(std::string_view key) {
    for (auto& e : entries_)
        if (e.first == key) return &e.second;
    return nullptr;
}

void Record::set(std::string key, Value value) {
    if (Value* existing = find(key)) {
        *existing = std::move(value);
        return;
    }
    entries_.emplace_back(std::move(key), std::move(value));
}

bool Record::remove(std::string_view key) {
    for (auto it = entries_.begin(); it != entries_.end(); ++it) {
        if (it->first == key) {
            entries_.erase(it);
            return true;
        }
    }
    return false;
}

std::string Record::string(std::string_view key, std::string fallback) const {
    const Value* v = find(key);
    if (v && v->isString()) return *v->asString();
    return fallback;
}

std::int64_t Record::integer(std::string_view key, std::int64_t fallback) const {
    const Value* v = find(key);
    if (v && (v->isInteger() || v->isBool() || v->isReal())) return v->toInt64(fallback);
    return fallback;
}

bool Record::boolean(std::string_view key, bool fallback) const {
    const Value* v = find(key);
    if (v && (v->isBool() || v->isInteger())) return v->toBool(fallback);
    return fallback;
}

const Record* Record::record(std::string_view key) const {
    const Value* v = find(key);
    return v ? v->asRecord() : nullptr;
}

const List* Record::list(std::string_view key) const {
    const Value* v = find(key);
    return v ? v->asList() : nullptr;
}

std::vector<std::string> Record::keys() const {
    std::vector<std::string> out;
    out.reserve(entries_.size());
    for (const auto& e : entries_) out.push_back(e.first);
    return out;
}

List Record::values() const {
    List out;
    out.reserve(entries_.size());
    for (const auto& e : entries_) out.push_back(e.second);
    return out;
}

bool Record::operator==(const Record& other) const {
    if (entries_.size() != other.entries_.size()) return false;
    for (const auto& e : entries_) {
        const Value* o = other.find(e.first);
        if (!o || !(*o == e.second)) return false;
    }
    return true;
}

Value::Value(const Value& other) : v_(other.v_) {
    if (auto* r = std::get_if<std::shared_ptr<Record>>(&v_)) {
        if (*r) *r = std::make_shared<Record>(**r);
    }
}

Value& Value::operator=(const Value& other) {
    if (this != &other) {
        Value copy(other);
        v_ = std::move(copy.v_);
    }
    return *this;
}

Value::Value(Value&&) noexcept = default;
Value& Value::operator=(Value&&) noexcept = default;

const Record* Value::asRecord() const {
    auto* r = std::get_if<std::shared_ptr<Record>>(&v_);
    return r ? r->get() : nullptr;
}

Record* Value::asRecord() {
    auto* r = std::get_if<std::shared_ptr<Record>>(&v_);
    return r ? r->get() : nullptr;
}

std::string Value::toString() const {
    if (auto* s = std::get_if<std::string>(&v_)) return *s;
    if (auto* i = std::get_if<std::int64_t>(&v_)) return std::to_string(*i);
    if (auto* u = std::get_if<std::uint64_t>(&v_)) return std::to_string(*u);
    if (auto* d = std::get_if<double>(&v_)) {
        // The shortest text that reads back as the same number ("0.1", "1234567", "2.5e-07").
        if (std::isnan(*d)) return "nan";
        if (std::isinf(*d)) return *d < 0 ? "-inf" : "inf";
        char buf[64];
        const auto r = std::to_chars(buf, buf + sizeof buf, *d);
        return std::string(buf, r.ptr);
    }
    if (auto* b = std::get_if<bool>(&v_)) return *b ? "1" : "0";
    return describe();
}

std::int64_t Value::toInt64(std::int64_t fallback) const {
    if (auto* i = std::get_if<std::int64_t>(&v_)) return *i;
    if (auto* u = std::get_if<std::uint64_t>(&v_))
        return *u > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())
                   ? std::numeric_limits<std::int64_t>::max()
                   : static_cast<std::int64_t>(*u);
    if (auto* d = std::get_if<double>(&v_)) {
        // Converting a double outside the target range is undefined; saturate instead.
        if (std::isnan(*d)) return fallback;
        if (*d >= 9223372036854775808.0) return std::numeric_limits<std::int64_t>::max();
        if (*d <= -9223372036854775808.0) return std::numeric_limits<std::int64_t>::min();
        return static_cast<std::int64_t>(*d);
    }
    if (auto* b = std::get_if<bool>(&v_)) return *b ? 1 : 0;
    if (auto* s = std::get_if<std::string>(&v_)) {
        // Like a scanner reading a leading integer: "12 Files" gives 12, text gives 0.
        char* end = nullptr;
        long long n = std::strtoll(s->c_str(), &end, 10);
        if (end == s->c_str()) return fallback;
        return n;
    }
    return fallback;
}

std::uint64_t Value::toUInt64(std::uint64_t fallback) const {
    if (auto* u = std::get_if<std::uint64_t>(&v_)) return *u;
    // A count cannot be negative: negative values read as 0 rather than wrapping around.
    if (auto* i = std::get_if<std::int64_t>(&v_))
        return *i < 0 ? 0 : static_cast<std::uint64_t>(*i);
    if (auto* d = std::get_if<double>(&v_)) {
        if (std::isnan(*d)) return fallback;
        if (*d <= 0) return 0;
        if (*d >= 18446744073709551616.0) return std::numeric_limits<std::uint64_t>::max();
        return static_cast<std::uint64_t>(*d);
    }
    if (auto* b = std::get_if<bool>(&v_)) return *b ? 1 : 0;
    if (auto* s = std::get_if<std::string>(&v_)) {
        // strtoull would accept "-5" as 2^64 - 5; the text is read as a signed number first.
        const char* p = s->c_str();
        while (std::isspace(static_cast<unsigned char>(*p))) ++p;
        if (*p == '-') {
            char* end = nullptr;
            std::strtoll(p, &end, 10);
            return end == p ? fallback : 0;
        }
        char* end = nullptr;
        unsigned long long n = std::strtoull(p, &end, 10);
        if (end == p) return fallback;
        return n;
    }
    return fallback;
}

namespace {

// Reads the number a text starts with, always with "." as the decimal point: the host
// application may have set a locale whose decimal point is ",", which strtod would follow.
bool leadingDouble(const std::string& s, double& out) {
    const char* p = s.data();
    const char* end = s.data() + s.size();
    while (p < end && std::isspace(static_cast<unsigned char>(*p))) ++p;
    if (p < end && *p == '+') ++p;
    const auto r = std::from_chars(p, end, out);
    return r.ec == std::errc();
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) !=
            std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

}  // namespace

double Value::toDouble(double fallback) const {
    if (auto* d = std::get_if<double>(&v_)) return *d;
    if (auto* i = std::get_if<std::int64_t>(&v_)) return static_cast<double>(*i);
    if (auto* u = std::get_if<std::uint64_t>(&v_)) return static_cast<double>(*u);
    if (auto* b = std::get_if<bool>(&v_)) return *b ? 1 : 0;
    if (auto* s = std::get_if<std::string>(&v_)) {
        double n = 0;
        return leadingDouble(*s, n) ? n : fallback;
    }
    return fallback;
}

bool Value::toBool(bool fallback) const {
    if (auto* b = std::get_if<bool>(&v_)) return *b;
    if (auto* i = std::get_if<std::int64_t>(&v_)) return *i != 0;
    if (auto* u = std::get_if<std::uint64_t>(&v_)) return *u != 0;
    if (auto* d = std::get_if<double>(&v_)) return *d != 0;
    if (auto* s = std::get_if<std::string>(&v_)) {
        std::string_view t(*s);
        while (!t.empty() && std::isspace(static_cast<unsigned char>(t.front())))
            t.remove_prefix(1);
        while (!t.empty() && std::isspace(static_cast<unsigned char>(t.back()))) t.remove_suffix(1);
        if (equalsIgnoringCase(t, "true") || equalsIgnoringCase(t, "yes")) return true;
        if (equalsIgnoringCase(t, "false") || equalsIgnoringCase(t, "no")) return false;
        // A number as text: "1" or "2" is true, "0" false.
        double n = 0;
        if (leadingDouble(std::string(t), n)) return n != 0;
    }
    return fallback;
}

namespace {

void describeInto(std::ostringstream& os, const Value& v, int indent);

void describeRecord(std::ostringstream& os, const Record& r, int indent) {
    os << "{\n";
    for (const auto& [k, val] : r) {
        os << std::string(static_cast<std::size_t>(indent + 4), ' ') << k << " = ";
        describeInto(os, val, indent + 4);
        os << ";\n";
    }
    os << std::string(static_cast<std::size_t>(indent), ' ') << "}";
}

void describeInto(std::ostringstream& os, const Value& v, int indent) {
    const auto& s = v.storage();
    if (std::holds_alternative<std::monostate>(s)) {
        os << "(null)";
    } else if (auto* str = std::get_if<std::string>(&s)) {
        os << '"' << *str << '"';
    } else if (auto* b = std::get_if<bool>(&s)) {
        os << (*b ? "1" : "0");
    } else if (auto* d = std::get_if<Date>(&s)) {
        std::time_t t = std::chrono::system_clock::to_time_t(*d);
        std::tm tm{};
        char buf[64];
        if (gmtime_r(&t, &tm) && std::strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S +0000", &tm))
            os << buf;
        else
            os << "(date)";
    } else if (auto* data = std::get_if<Data>(&s)) {
        os << "<" << data->size() << " bytes>";
    } else if (auto* l = std::get_if<List>(&s)) {
        os << "(\n";
        for (std::size_t i = 0; i < l->size(); ++i) {
            os << std::string(static_cast<std::size_t>(indent + 4), ' ');
            describeInto(os, (*l)[i], indent + 4);
            os << (i + 1 < l->size() ? ",\n" : "\n");
        }
        os << std::string(static_cast<std::size_t>(indent), ' ') << ")";
    } else if (v.isRecord()) {
        // A moved-from record holds no record at all; it reads as an empty one.
        if (const Record* r = v.asRecord())
            describeRecord(os, *r, indent);
        else
            describeRecord(os, Record{}, indent);
    } else {
        os << v.toString();
    }
}

}  // namespace

std::string Value::describe() const {
    std::ostringstream os;
    describeInto(os, *this, 0);
    return os.str();
}

std::string describe(const Record& record) {
    std::ostringstream os;
    describeRecord(os, record, 0);
    return os.str();
}

bool Value::operator==(const Value& other) const {
    if (isInteger() && other.isInteger()) {
        if (isUnsigned() != other.isUnsigned()) {
            const Value& s = isUnsigned() ? other : *this;
            const Value& u = isUnsigned() ? *this : other;
            std::int64_t sv = std::get<std::int64_t>(s.v_);
            return sv >= 0 && static_cast<std::uint64_t>(sv) == std::get<std::uint64_t>(u.v_);
        }
    }
    if (v_.index() != other.v_.index()) return false;
    if (isRecord()) {
        const Record* a = asRecord();
        const Record* b = other.asRecord();
        if (!a || !b) return a == b;
        return *a == *b;
    }
    return v_ == other.v_;
}

}  // namespace qvt
