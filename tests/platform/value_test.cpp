#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "qvtransfer/Value.h"

namespace qvt {
namespace {

Record sample() {
    return Record{{"name", "Photos"},
                  {"size", 42},
                  {"inner", Record{{"path", "/a"}, {"list", List{1, "two", 3.5}}}}};
}

TEST(Value, CopyIsDeepForNestedRecordsAndLists) {
    Value original = sample();
    Value copy = original;
    copy.asRecord()->find("inner")->asRecord()->set("path", "/changed");
    copy.asRecord()->find("inner")->asRecord()->find("list")->asList()->push_back(9);
    EXPECT_EQ(original.asRecord()->record("inner")->string("path"), "/a");
    EXPECT_EQ(original.asRecord()->record("inner")->list("list")->size(), 3u);
    EXPECT_FALSE(original == copy);

    Value assigned;
    assigned = original;
    assigned.asRecord()->set("name", "Music");
    EXPECT_EQ(original.asRecord()->string("name"), "Photos");

    // A list of records copied as a whole does not share its records either.
    List rows{Value(Record{{"fileName", "a"}})};
    List rowsCopy = rows;
    rowsCopy[0].asRecord()->set("fileName", "b");
    EXPECT_EQ(rows[0].asRecord()->string("fileName"), "a");
}

TEST(Value, EqualityIsDeepAndNumeric) {
    EXPECT_TRUE(Value(5) == Value(5ull));
    EXPECT_TRUE(Value(5ull) == Value(5));
    EXPECT_FALSE(Value(-1) == Value(std::numeric_limits<unsigned long long>::max()));
    EXPECT_FALSE(Value("5") == Value(5));
    EXPECT_FALSE(Value(1) == Value(true));
    EXPECT_TRUE(Value() == Value());
    EXPECT_TRUE(Value(sample()) == Value(sample()));
    // Records compare by keys and values, not by the order the keys were set in.
    Record a{{"x", 1}, {"y", 2}};
    Record b{{"y", 2}, {"x", 1}};
    EXPECT_TRUE(a == b);
    b.set("x", 3);
    EXPECT_FALSE(a == b);
    EXPECT_FALSE(Value(List{1, 2}) == Value(List{2, 1}));
    EXPECT_FALSE(Value(Record{{"x", 1}}) == Value(Record{{"x", 1}, {"y", 1}}));
}

TEST(Value, RecordKeepsInsertionOrder) {
    Record r;
    r.set("zeta", 1);
    r.set("alpha", 2);
    r.set("mid", 3);
    r.set("zeta", 4);  // an existing key keeps its place
    EXPECT_EQ(r.keys(), (std::vector<std::string>{"zeta", "alpha", "mid"}));
    EXPECT_EQ(r.integer("zeta"), 4);
    EXPECT_TRUE(r.remove("alpha"));
    EXPECT_FALSE(r.remove("alpha"));
    EXPECT_EQ(r.keys(), (std::vector<std::string>{"zeta", "mid"}));
}

TEST(Value, TypedLookupsGiveFallbacks) {
    Record r{{"s", "text"}, {"n", 7}, {"b", true}, {"l", List{}}, {"r", Record{}}};
    EXPECT_EQ(r.string("n", "fb"), "fb");
    EXPECT_EQ(r.string("missing", "fb"), "fb");
    EXPECT_EQ(r.integer("s", -1), -1);
    EXPECT_EQ(r.integer("b"), 1);
    EXPECT_TRUE(r.boolean("n"));
    EXPECT_EQ(r.record("l"), nullptr);
    EXPECT_NE(r.record("r"), nullptr);
    EXPECT_EQ(r.list("r"), nullptr);
    EXPECT_NE(r.list("l"), nullptr);
}

TEST(Value, LenientIntegerConversions) {
    EXPECT_EQ(Value("12 Files").toInt64(), 12);
    EXPECT_EQ(Value("  -3").toInt64(), -3);
    EXPECT_EQ(Value("abc").toInt64(7), 7);
    EXPECT_EQ(Value(3.9).toInt64(), 3);
    EXPECT_EQ(Value(true).toInt64(), 1);
    EXPECT_EQ(Value().toInt64(5), 5);
    // Out-of-range values saturate instead of wrapping or being undefined.
    EXPECT_EQ(Value(1e300).toInt64(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(Value(-1e300).toInt64(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(Value(std::nan("")).toInt64(9), 9);
    EXPECT_EQ(Value(std::numeric_limits<unsigned long long>::max()).toInt64(),
              std::numeric_limits<std::int64_t>::max());

    EXPECT_EQ(Value("18446744073709551615").toUInt64(), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(Value("-5").toUInt64(8), 0u);
    EXPECT_EQ(Value("x").toUInt64(8), 8u);
    EXPECT_EQ(Value(-5).toUInt64(), 0u);
    EXPECT_EQ(Value(-2.5).toUInt64(), 0u);
    EXPECT_EQ(Value(1e30).toUInt64(), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(Value(std::nan("")).toUInt64(4), 4u);
    EXPECT_EQ(Value(12345u).toUInt64(), 12345u);
    EXPECT_TRUE(Value(12345u).isUnsigned());
}

TEST(Value, LenientRealAndBoolConversions) {
    EXPECT_DOUBLE_EQ(Value("2.5 MB").toDouble(), 2.5);
    EXPECT_DOUBLE_EQ(Value(" +1e3").toDouble(), 1000.0);
    EXPECT_DOUBLE_EQ(Value("none").toDouble(-1), -1);
    EXPECT_DOUBLE_EQ(Value(7).toDouble(), 7.0);

    EXPECT_TRUE(Value("true").toBool());
    EXPECT_TRUE(Value("YES").toBool());
    EXPECT_TRUE(Value("True").toBool());
    EXPECT_TRUE(Value("1").toBool());
    EXPECT_TRUE(Value("2").toBool());
    EXPECT_FALSE(Value("false").toBool(true));
    EXPECT_FALSE(Value("no").toBool(true));
    EXPECT_FALSE(Value("0").toBool(true));
    EXPECT_TRUE(Value("maybe").toBool(true));
    EXPECT_FALSE(Value("maybe").toBool(false));
    EXPECT_TRUE(Value(3).toBool());
    EXPECT_FALSE(Value(0.0).toBool(true));
}

TEST(Value, ToStringOfNumbers) {
    EXPECT_EQ(Value(42).toString(), "42");
    EXPECT_EQ(Value(18446744073709551615ull).toString(), "18446744073709551615");
    EXPECT_EQ(Value(0.1).toString(), "0.1");
    EXPECT_EQ(Value(1234567.0).toString(), "1234567");
    EXPECT_EQ(Value(true).toString(), "1");
    EXPECT_EQ(Value("x").toString(), "x");
}

TEST(Value, NullCharPointerIsEmptyString) {
    const char* none = nullptr;
    Value v(none);
    ASSERT_TRUE(v.isString());
    EXPECT_EQ(*v.asString(), "");
}

TEST(Value, DescribeShowsNestedValues) {
    const std::string text = Value(sample()).describe();
    EXPECT_NE(text.find("name = \"Photos\";"), std::string::npos) << text;
    EXPECT_NE(text.find("size = 42;"), std::string::npos) << text;
    EXPECT_NE(text.find("path = \"/a\";"), std::string::npos) << text;
    EXPECT_NE(text.find("3.5"), std::string::npos) << text;
    EXPECT_EQ(Value(Data{1, 2, 3}).describe(), "<3 bytes>");
    EXPECT_EQ(Value(Date{}).describe(), "1970-01-01 00:00:00 +0000");
}

TEST(Value, MovedFromRecordDescribesAsEmpty) {
    Value a = Record{{"k", 1}};
    Value b = std::move(a);
    EXPECT_EQ(b.asRecord()->integer("k"), 1);
    // The moved-from value still says it is a record; describing it must not recurse.
    ASSERT_TRUE(a.isRecord());  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(a.describe(), "{\n}");
    EXPECT_EQ(a.toString(), "{\n}");
}

}  // namespace
}  // namespace qvt
