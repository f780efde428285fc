// Hostile and broken replies: each ends in a record or in nothing, quickly and with bounded
// memory.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <chrono>
#include <fstream>

#include "device/xml_record.h"
#include "support/support.h"

using qvt::device::recordFromXmlReply;

namespace {

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

long peakRssKiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

}  // namespace

TEST(XmlRobustness, TruncatedRepliesAtEveryLength) {
    const std::string reply =
        "<?xml version=\"1.0\"?><users><user><username>admin</username>"
        "<is_password>true</is_password></user><user><username>bob</username>"
        "<is_password>false</is_password></user></users>";
    std::size_t records = 0;
    for (std::size_t n = 0; n <= reply.size(); ++n) {
        auto r = recordFromXmlReply(std::string_view(reply).substr(0, n));
        if (r) ++records;
    }
    // Once the root element has started, recovery yields a record for every cut.
    EXPECT_GE(records, reply.size() - reply.find("<users>") - 6);
    auto whole = recordFromXmlReply(reply);
    ASSERT_TRUE(whole);
    EXPECT_EQ(whole->size(), 2u);
}

TEST(XmlRobustness, GarbageAndBinaryBytes) {
    std::string bytes;
    for (int i = 0; i < 4096; ++i) bytes += static_cast<char>((i * 131 + 7) % 256);
    auto start = std::chrono::steady_clock::now();
    auto r = recordFromXmlReply(bytes);
    (void)r;
    auto s = recordFromXmlReply(std::string("<a>\0<b>x</b></a>", 16));
    (void)s;
    auto t = recordFromXmlReply("<<<>>>&&&;;</></></a><a");
    (void)t;
    EXPECT_LT(secondsSince(start), 5.0);
}

TEST(XmlRobustness, TenThousandLevelsOfNesting) {
    std::string xml;
    for (int i = 0; i < 10000; ++i) xml += "<n>";
    xml += "leaf";
    for (int i = 0; i < 10000; ++i) xml += "</n>";
    auto start = std::chrono::steady_clock::now();
    auto r = recordFromXmlReply(xml);
    EXPECT_LT(secondsSince(start), 5.0);
    // The parser stops at its depth limit; recovery keeps what it read before.
    ASSERT_TRUE(r);
    int depth = 0;
    const qvt::Record* level = &*r;
    while (const qvt::Record* next = level->record("n")) {
        level = next;
        ++depth;
    }
    // libxml2 refuses to go deeper than 256 levels without XML_PARSE_HUGE.
    EXPECT_GE(depth, 200);
    EXPECT_LE(depth, 256);
}

TEST(XmlRobustness, FiftyMegabyteReply) {
    const std::size_t size = 50u * 1000u * 1000u;
    std::string xml = "<system_information><serial_number>";
    xml.append(size, 'S');
    xml += "</serial_number><name>big</name></system_information>";
    const long before = peakRssKiB();
    auto start = std::chrono::steady_clock::now();
    auto r = recordFromXmlReply(xml);
    const double elapsed = secondsSince(start);
    const long grown = peakRssKiB() - before;
    EXPECT_LT(elapsed, 20.0);
    // A few copies of the text at most: the reply itself, the tree's text node and the value.
    EXPECT_LT(grown, 400L * 1024L) << "peak grew by " << grown << " KiB";
    ASSERT_TRUE(r);
    const qvt::Value* serial = r->find("serial_number");
    ASSERT_NE(serial, nullptr);
    ASSERT_TRUE(serial->isString());
    EXPECT_EQ(serial->asString()->size(), size);
    EXPECT_EQ(r->string("name"), "big");
}

TEST(XmlRobustness, ManySiblingsAreCappedAndQuick) {
    const std::size_t users = 200000;  // about 11 MB
    std::string xml = "<users>";
    xml.reserve(users * 60);
    for (std::size_t i = 0; i < users; ++i)
        xml += "<user><username>u" + std::to_string(i) + "</username></user>";
    xml += "</users>";
    auto start = std::chrono::steady_clock::now();
    auto r = recordFromXmlReply(xml);
    EXPECT_LT(secondsSince(start), 20.0);
    ASSERT_TRUE(r);
    EXPECT_EQ(r->size(), qvt::device::kMaxChildEntries);
    const auto last = "user_" + std::to_string(qvt::device::kMaxChildEntries - 1);
    ASSERT_NE(r->record(last), nullptr);
    EXPECT_EQ(r->record(last)->string("username"),
              "u" + std::to_string(qvt::device::kMaxChildEntries - 1));
}

TEST(XmlRobustness, EntityBombIsNotExpanded) {
    const std::string bomb =
        "<?xml version=\"1.0\"?>\n"
        "<!DOCTYPE lolz [\n"
        " <!ENTITY lol \"lol\">\n"
        " <!ENTITY lol1 \"&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;\">\n"
        " <!ENTITY lol2 \"&lol1;&lol1;&lol1;&lol1;&lol1;&lol1;&lol1;&lol1;&lol1;&lol1;\">\n"
        " <!ENTITY lol3 \"&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;\">\n"
        " <!ENTITY lol4 \"&lol3;&lol3;&lol3;&lol3;&lol3;&lol3;&lol3;&lol3;&lol3;&lol3;\">\n"
        " <!ENTITY lol5 \"&lol4;&lol4;&lol4;&lol4;&lol4;&lol4;&lol4;&lol4;&lol4;&lol4;\">\n"
        " <!ENTITY lol6 \"&lol5;&lol5;&lol5;&lol5;&lol5;&lol5;&lol5;&lol5;&lol5;&lol5;\">\n"
        " <!ENTITY lol7 \"&lol6;&lol6;&lol6;&lol6;&lol6;&lol6;&lol6;&lol6;&lol6;&lol6;\">\n"
        " <!ENTITY lol8 \"&lol7;&lol7;&lol7;&lol7;&lol7;&lol7;&lol7;&lol7;&lol7;&lol7;\">\n"
        " <!ENTITY lol9 \"&lol8;&lol8;&lol8;&lol8;&lol8;&lol8;&lol8;&lol8;&lol8;&lol8;\">\n"
        "]>\n"
        "<users><user><username>&lol9;</username><is_password>&lol9;x</is_password></user>"
        "<lol>&lol9;</lol><lol2>&lol9;<x>&lol9;</x></lol2></users>";
    const long before = peakRssKiB();
    auto start = std::chrono::steady_clock::now();
    auto r = recordFromXmlReply(bomb);
    EXPECT_LT(secondsSince(start), 5.0);
    EXPECT_LT(peakRssKiB() - before, 64L * 1024L);
    // The reply still converts; whatever survives holds no expansion.
    ASSERT_TRUE(r);
    const std::string text = qvt::Value(*r).describe();
    EXPECT_LT(text.size(), 10000u);
    EXPECT_EQ(text.find("lollol"), std::string::npos);
    EXPECT_TRUE(r->contains("user"));
}

TEST(XmlRobustness, ExternalEntitiesAreNotRead) {
    qvt::test::TempDir dir;
    const std::string secretFile = dir / "outside.txt";
    qvt::test::writeFile(secretFile, "FILE-CONTENT-MARKER");
    const std::string xml = "<?xml version=\"1.0\"?>\n<!DOCTYPE a [<!ENTITY ext SYSTEM \"file://" +
                            secretFile + "\">]>\n<a><b>&ext;</b><c>x</c></a>";
    auto r = recordFromXmlReply(xml);
    ASSERT_TRUE(r);
    EXPECT_EQ(qvt::Value(*r).describe().find("FILE-CONTENT-MARKER"), std::string::npos);
    EXPECT_EQ(r->string("c"), "x");
}
