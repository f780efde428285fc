#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "platform/format.h"

namespace qvt::platform {
namespace {

TEST(Format, StringsAndPlainText) {
    EXPECT_EQ(format("Uploading files to %@", "Home Storage"), "Uploading files to Home Storage");
    EXPECT_EQ(format("%@\n%@", "line one", "line two"), "line one\nline two");
    EXPECT_EQ(format("%@_%d", "share", 1), "share_1");
    EXPECT_EQ(format("no specifiers"), "no specifiers");
    EXPECT_EQ(format(""), "");
    EXPECT_EQ(format("%s and %@", "c", std::string("cpp")), "c and cpp");
}

TEST(Format, IntegerSpecifiers) {
    EXPECT_EQ(format("%ld", 42L), "42");
    EXPECT_EQ(format("%ld", -42L), "-42");
    EXPECT_EQ(format("%lu", 18446744073709551615ull), "18446744073709551615");
    EXPECT_EQ(format("%d", 7), "7");
    EXPECT_EQ(format("%i", -7), "-7");
    EXPECT_EQ(format("%u", 7u), "7");
    EXPECT_EQ(format("%lld", std::numeric_limits<long long>::min()), "-9223372036854775808");
    EXPECT_EQ(format("%llu", 9223372036854775808ull), "9223372036854775808");
    // The argument's value is printed whole whatever the length modifier claims.
    EXPECT_EQ(format("%d", 5000000000LL), "5000000000");
    EXPECT_EQ(format("%hhd %hd %zu %jd %qd", 1, 2, 3, 4, 5), "1 2 3 4 5");
    EXPECT_EQ(format("%05d|%-4d|%+d|% d", 42, 7, 3, 9), "00042|7   |+3| 9");
    EXPECT_EQ(format("%x %X %o %#x", 255, 255, 8, 255), "ff FF 10 0xff");
    // An unsigned value above the signed range given to a signed specifier stays itself.
    EXPECT_EQ(format("%ld", 18446744073709551615ull), "18446744073709551615");
    // A negative value for an unsigned specifier reads as printf's %lu shows it.
    EXPECT_EQ(format("%lu", -1), "18446744073709551615");
}

TEST(Format, RealSpecifiers) {
    EXPECT_EQ(format("%f", 2.5), "2.500000");
    EXPECT_EQ(format("%4.2f%@", 12.345, "MB"), "12.35MB");
    EXPECT_EQ(format("%4.2f%@", 1.5, "KB"), "1.50KB");
    EXPECT_EQ(format("%7.2f|", 1.5), "   1.50|");
    EXPECT_EQ(format("%-7.1f|", 1.5), "1.5    |");
    EXPECT_EQ(format("%.0f", 2.6), "3");
    EXPECT_EQ(format("%e", 1500.0), "1.500000e+03");
    EXPECT_EQ(format("%g", 0.5), "0.5");
    EXPECT_EQ(format("%f", 3), "3.000000");
    EXPECT_EQ(format("%.1f", std::numeric_limits<double>::infinity()), "inf");
}

TEST(Format, PercentSigns) {
    EXPECT_EQ(format("100%%"), "100%");
    EXPECT_EQ(format("%d%%", 50), "50%");
    EXPECT_EQ(format("%%%%"), "%%");
    // A lone "%" at the end is kept as written.
    EXPECT_EQ(format("100%"), "100%");
    EXPECT_EQ(format("%"), "%");
    EXPECT_EQ(format("50%5"), "50%5");
}

TEST(Format, PositionalArguments) {
    EXPECT_EQ(format("%1$@ %2$ld", "files", 3L), "files 3");
    EXPECT_EQ(format("%2$ld %1$@", "files", 3L), "3 files");
    EXPECT_EQ(format("%2$@, %1$@, %2$@", "a", "b"), "b, a, b");
    EXPECT_EQ(format("%1$4.2f", 3.14159), "3.14");
    // Beyond the arguments, or absurdly far: left out.
    EXPECT_EQ(format("[%3$@]", "a", "b"), "[]");
    EXPECT_EQ(format("[%99999999999999999999$@]", "a"), "[]");
}

TEST(Format, TooFewArgumentsLeaveSpecifiersOut) {
    EXPECT_EQ(format("%@ of %@", "1"), "1 of ");
    EXPECT_EQ(format("%ld files, %ld folders"), " files,  folders");
    EXPECT_EQ(format("%4.2f%@", 2.0), "2.00");
}

TEST(Format, PropertyListValuesAsArguments) {
    EXPECT_EQ(format("%ld %@", Value(12), Value("MB")), "12 MB");
    EXPECT_EQ(format("%lu", Value(18446744073709551615ull)), "18446744073709551615");
    EXPECT_EQ(format("%4.2f", Value(2.5)), "2.50");
    EXPECT_EQ(format("%@", Value(true)), "1");
    const char* none = nullptr;
    EXPECT_EQ(format("[%@]", none), "[]");
    EXPECT_EQ(format("%@", std::string_view("view")), "view");
}

TEST(Format, ExtraArgumentsAreIgnored) {
    EXPECT_EQ(format("%@", "a", "b", 3), "a");
}

TEST(Format, UnknownSpecifiersAreKeptAsWritten) {
    EXPECT_EQ(format("%y %k", 1, 2), "%y %k");
    EXPECT_EQ(format("%5y|%@", "x"), "%5y|x");
    EXPECT_EQ(format("%l", 1), "%l");
    EXPECT_EQ(format("%*d", 5, 3), "%*d");
    EXPECT_EQ(format("%n", 1), "%n");
    EXPECT_EQ(format("%p", 1), "%p");
}

TEST(Format, ArgumentsOfTheWrongKindAreConverted) {
    EXPECT_EQ(format("%ld", "12"), "12");
    EXPECT_EQ(format("%ld", "12 Files"), "12");
    EXPECT_EQ(format("%ld", "none"), "0");
    EXPECT_EQ(format("%lu", "-3"), "18446744073709551613");
    EXPECT_EQ(format("%ld", 3.9), "3");
    EXPECT_EQ(format("%ld", std::nan("")), "0");
    EXPECT_EQ(format("%ld", 1e300), "9223372036854775807");
    EXPECT_EQ(format("%lu", 1e300), "18446744073709551615");
    EXPECT_EQ(format("%@", 5), "5");
    EXPECT_EQ(format("%@", 18446744073709551615ull), "18446744073709551615");
    EXPECT_EQ(format("%@", 0.25), "0.25");
    EXPECT_EQ(format("%4.2f", "2.5"), "2.50");
    EXPECT_EQ(format("%f", "abc"), "0.000000");
    EXPECT_EQ(format("%c%c", 65, "é!"), "Aé");
}

TEST(Format, StringWidthAndPrecisionCountCharacters) {
    EXPECT_EQ(format("[%5@]", "ab"), "[   ab]");
    EXPECT_EQ(format("[%-5@]", "ab"), "[ab   ]");
    EXPECT_EQ(format("[%.2@]", "abcdef"), "[ab]");
    EXPECT_EQ(format("[%.1@]", "éa"), "[é]");
    EXPECT_EQ(format("[%3@]", "éé"), "[ éé]");
}

TEST(Format, HugeFieldsAreCapped) {
    const std::string wide = format("%999999999999999999999d", 5);
    EXPECT_LE(wide.size(), 5000u);
    EXPECT_GE(wide.size(), 1000u);
    EXPECT_EQ(wide.back(), '5');
    const std::string precise = format("%.999999999f", 1e308);
    EXPECT_LE(precise.size(), 10000u);
    EXPECT_EQ(precise.substr(0, 4), "1000");
    EXPECT_LE(format("%99999999999@", "x").size(), 5000u);
}

// Random formats built from the characters that matter, with random arguments: whatever a
// translation contains, formatting returns (the sanitizer builds check it does so cleanly).
TEST(Format, HostileFormatsNeverMisbehave) {
    std::mt19937 rng(12345);
    const std::string alphabet = "%@$ldiufxXosc.-+ #0123456789*nphqLjzt%%%";
    for (int round = 0; round < 20000; ++round) {
        std::string f;
        const int len = static_cast<int>(rng() % 24);
        for (int i = 0; i < len; ++i) f += alphabet[rng() % alphabet.size()];
        std::vector<FormatArg> args;
        const int count = static_cast<int>(rng() % 4);
        for (int i = 0; i < count; ++i) {
            switch (rng() % 4) {
                case 0:
                    args.emplace_back(std::string("s%@%n"));
                    break;
                case 1:
                    args.emplace_back(static_cast<std::int64_t>(rng()) - 2000000000LL);
                    break;
                case 2:
                    args.emplace_back(static_cast<std::uint64_t>(rng()) << 33);
                    break;
                default:
                    args.emplace_back(std::ldexp(static_cast<double>(rng()), int(rng() % 64) - 32));
            }
        }
        const std::string out = formatText(f, args);
        // Every field is capped, so no output grows beyond a few of them.
        ASSERT_LE(out.size(), 24u * 5000u) << f;
    }
}

}  // namespace
}  // namespace qvt::platform
