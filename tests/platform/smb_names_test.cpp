// Names on a share: the characters SMB refuses are written as private-use characters and read
// back as they were; names that are not UTF-8 are told apart.
#include <gtest/gtest.h>

#include <string>

#include "platform/smb_names.h"

namespace qvt::platform::smb {
namespace {

// U+F000 + `low` in UTF-8.
std::string mapped(unsigned low) {
    return std::string{'\xEF', '\x80', static_cast<char>(0x80 | low)};
}

TEST(SmbNames, EachRefusedCharacterHasItsPrivateUseCharacter) {
    EXPECT_EQ(toShareName("Meeting: notes.txt"), "Meeting" + mapped(0x22) + " notes.txt");
    const std::string refused = "\"*:<>?\\|";
    for (std::size_t i = 0; i < refused.size(); ++i)
        EXPECT_EQ(toShareName(std::string("a") + refused[i] + "b"), "a" + mapped(0x20 + i) + "b")
            << refused[i];
    for (unsigned c = 1; c < 0x20; ++c)
        EXPECT_EQ(toShareName(std::string("a") + static_cast<char>(c)), "a" + mapped(c)) << c;
}

TEST(SmbNames, OnlyABlankOrADotAtTheEndIsMapped) {
    EXPECT_EQ(toShareName("a b.c"), "a b.c");
    EXPECT_EQ(toShareName("draft "), "draft" + mapped(0x28));
    EXPECT_EQ(toShareName("draft."), "draft" + mapped(0x29));
    EXPECT_EQ(toShareName("draft. "), "draft." + mapped(0x28));
    EXPECT_EQ(toShareName(".hidden"), ".hidden");
    // The folder names "." and ".." stay what they are.
    EXPECT_EQ(toShareName("."), ".");
    EXPECT_EQ(toShareName(".."), "..");
}

TEST(SmbNames, NamesWithoutRefusedCharactersAreUnchanged) {
    for (const char* name :
         {"", "report.pdf", "Été 2026", "写真", "a-b_c (1)", "x\xF0\x9F\x98\x80"})
        EXPECT_EQ(toShareName(name), name);
}

TEST(SmbNames, EveryMappedNameReadsBackAsTheOriginal) {
    std::string all;
    for (unsigned c = 1; c < 0x20; ++c) all += static_cast<char>(c);
    for (const std::string& name :
         {std::string("Meeting: notes.txt"), std::string("colon:quote\".txt"),
          std::string("star*?.txt"), std::string("a<b>c|d\\e"), std::string("tab\tname"),
          std::string("ends with a blank "), std::string("ends with a dot."), "x" + all + "y",
          std::string("plain name.txt"), std::string("Été")}) {
        EXPECT_EQ(fromShareName(toShareName(name)), name) << name;
        EXPECT_TRUE(isValidUtf8(toShareName(name))) << name;
    }
}

TEST(SmbNames, OtherPrivateUseCharactersAndBrokenSequencesStayAsTheyAre) {
    // U+F000 and U+F02A are outside the table; a sequence cut short is left alone.
    EXPECT_EQ(fromShareName(mapped(0x00)), mapped(0x00));
    EXPECT_EQ(fromShareName(mapped(0x2A)), mapped(0x2A));
    EXPECT_EQ(fromShareName("a\xEF\x80"), "a\xEF\x80");
    EXPECT_EQ(fromShareName("\xEF\x80\xC1"), "\xEF\x80\xC1");
}

TEST(SmbNames, Utf8IsToldFromOtherBytes) {
    EXPECT_TRUE(isValidUtf8(""));
    EXPECT_TRUE(isValidUtf8("plain"));
    EXPECT_TRUE(isValidUtf8("\xC3\xA9t\xC3\xA9"));
    EXPECT_TRUE(isValidUtf8("\xE5\x86\x99"));
    EXPECT_TRUE(isValidUtf8("\xF0\x9F\x98\x80"));
    EXPECT_FALSE(isValidUtf8("bad\xFF.txt"));
    EXPECT_FALSE(isValidUtf8("latin1 \xE9t\xE9"));
    EXPECT_FALSE(isValidUtf8("\xC3"));              // cut short
    EXPECT_FALSE(isValidUtf8("\xC0\xAF"));          // overlong "/"
    EXPECT_FALSE(isValidUtf8("\xED\xA0\x80"));      // a surrogate
    EXPECT_FALSE(isValidUtf8("\xF4\x90\x80\x80"));  // beyond U+10FFFF
    EXPECT_FALSE(isValidUtf8("\x80"));              // a lone continuation byte
}

}  // namespace
}  // namespace qvt::platform::smb
