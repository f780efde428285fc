// Property-list values: the one data model shared by device records, source rows, folder
// nodes, converted XML replies and the state file. Records keep their keys in insertion order.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "qvtransfer/Export.h"

namespace qvt {

class Value;

using List = std::vector<Value>;
using Data = std::vector<std::uint8_t>;
using Date = std::chrono::system_clock::time_point;

// A string-keyed record whose keys keep the order in which they were first set.
class QVT_EXPORT Record {
  public:
    using Entry = std::pair<std::string, Value>;

    Record() = default;
    Record(std::initializer_list<Entry> entries);

    bool contains(std::string_view key) const;
    // The value under key, or nullptr when there is none.
    const Value* find(std::string_view key) const;
    Value* find(std::string_view key);
    // Sets key to value; an existing key keeps its position.
    void set(std::string key, Value value);
    bool remove(std::string_view key);

    // Typed look-ups that never throw: a missing key or a value of another type gives the
    // fallback.
    std::string string(std::string_view key, std::string fallback = {}) const;
    std::int64_t integer(std::string_view key, std::int64_t fallback = 0) const;
    bool boolean(std::string_view key, bool fallback = false) const;
    const Record* record(std::string_view key) const;
    const List* list(std::string_view key) const;

    std::size_t size() const;
    bool empty() const;
    const std::vector<Entry>& entries() const { return entries_; }
    std::vector<std::string> keys() const;
    List values() const;

    auto begin() const { return entries_.begin(); }
    auto end() const { return entries_.end(); }

    bool operator==(const Record& other) const;

  private:
    std::vector<Entry> entries_;
};

// One property-list value. Unsigned integers are kept apart from signed ones so byte counts
// above 2^63 survive a round trip.
class QVT_EXPORT Value {
  public:
    using Storage = std::variant<std::monostate, std::string, std::int64_t, std::uint64_t, double,
                                 bool, Date, Data, List, std::shared_ptr<Record>>;

    Value() = default;
    Value(const char* s) : v_(std::string(s ? s : "")) {}
    Value(std::string s) : v_(std::move(s)) {}
    Value(std::string_view s) : v_(std::string(s)) {}
    Value(int i) : v_(static_cast<std::int64_t>(i)) {}
    Value(long i) : v_(static_cast<std::int64_t>(i)) {}
    Value(long long i) : v_(static_cast<std::int64_t>(i)) {}
    Value(unsigned int u) : v_(static_cast<std::uint64_t>(u)) {}
    Value(unsigned long u) : v_(static_cast<std::uint64_t>(u)) {}
    Value(unsigned long long u) : v_(static_cast<std::uint64_t>(u)) {}
    Value(double d) : v_(d) {}
    Value(bool b) : v_(b) {}
    Value(Date d) : v_(d) {}
    Value(Data d) : v_(std::move(d)) {}
    Value(List l) : v_(std::move(l)) {}
    Value(Record r) : v_(std::make_shared<Record>(std::move(r))) {}

    // Copies are deep: a copied record never aliases the original.
    Value(const Value& other);
    Value& operator=(const Value& other);
    // Defined out of line: GCC 12 inlining the variant's move reports "may be used
    // uninitialized" for the vector alternatives, a false alarm that -Werror turns fatal.
    Value(Value&&) noexcept;
    Value& operator=(Value&&) noexcept;

    bool isNull() const { return std::holds_alternative<std::monostate>(v_); }
    bool isString() const { return std::holds_alternative<std::string>(v_); }
    bool isInteger() const {
        return std::holds_alternative<std::int64_t>(v_) ||
               std::holds_alternative<std::uint64_t>(v_);
    }
    bool isUnsigned() const { return std::holds_alternative<std::uint64_t>(v_); }
    bool isReal() const { return std::holds_alternative<double>(v_); }
    bool isBool() const { return std::holds_alternative<bool>(v_); }
    bool isDate() const { return std::holds_alternative<Date>(v_); }
    bool isData() const { return std::holds_alternative<Data>(v_); }
    bool isList() const { return std::holds_alternative<List>(v_); }
    bool isRecord() const { return std::holds_alternative<std::shared_ptr<Record>>(v_); }

    // Pointers to the held value, or nullptr when the value has another type.
    const std::string* asString() const { return std::get_if<std::string>(&v_); }
    const List* asList() const { return std::get_if<List>(&v_); }
    List* asList() { return std::get_if<List>(&v_); }
    const Record* asRecord() const;
    Record* asRecord();
    const Data* asData() const { return std::get_if<Data>(&v_); }
    const Date* asDate() const { return std::get_if<Date>(&v_); }

    // Lenient conversions used where the device or the state file may hold a number as text
    // or a flag as a number.
    std::string toString() const;
    std::int64_t toInt64(std::int64_t fallback = 0) const;
    std::uint64_t toUInt64(std::uint64_t fallback = 0) const;
    double toDouble(double fallback = 0) const;
    bool toBool(bool fallback = false) const;

    // A readable one-line-per-entry description for log lines.
    std::string describe() const;

    const Storage& storage() const { return v_; }

    // Deep equality: records compare by keys and values, lists element by element. A signed
    // and an unsigned integer of the same numeric value are equal.
    bool operator==(const Value& other) const;

  private:
    Storage v_;
};

QVT_EXPORT std::string describe(const Record& record);

// Defined here, once Value is complete, so the header compiles with every standard library.
inline std::size_t Record::size() const {
    return entries_.size();
}
inline bool Record::empty() const {
    return entries_.empty();
}

}  // namespace qvt
