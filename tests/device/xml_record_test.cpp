// The conversion rule from XML replies to records.
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include "device/xml_record.h"

using qvt::List;
using qvt::Record;
using qvt::Value;
using qvt::device::dictionaryFromXMLNode;
using qvt::device::recordFromXmlReply;

namespace {

std::vector<std::string> keysOf(const Record& r) {
    return r.keys();
}

}  // namespace

TEST(XmlRecord, MissingElementGivesNothing) {
    EXPECT_FALSE(dictionaryFromXMLNode(nullptr));
}

TEST(XmlRecord, EmptyOrNonXmlBytesGiveNothing) {
    EXPECT_FALSE(recordFromXmlReply(""));
    EXPECT_FALSE(recordFromXmlReply("this is not xml at all"));
    EXPECT_FALSE(recordFromXmlReply("   \n  "));
}

TEST(XmlRecord, RepeatedNamesAreNumberedFromOne) {
    auto r = recordFromXmlReply(
        "<users><user><username>a</username><is_password>true</is_password></user>"
        "<user><username>b</username><is_password>false</is_password></user>"
        "<user><username>c</username><is_password>true</is_password></user></users>");
    ASSERT_TRUE(r);
    EXPECT_EQ(keysOf(*r), (std::vector<std::string>{"user", "user_1", "user_2"}));
    List users = r->values();
    ASSERT_EQ(users.size(), 3u);
    const char* names[] = {"a", "b", "c"};
    const char* flags[] = {"true", "false", "true"};
    for (std::size_t i = 0; i < 3; ++i) {
        const Record* u = users[i].asRecord();
        ASSERT_NE(u, nullptr);
        EXPECT_EQ(u->keys(), (std::vector<std::string>{"username", "is_password"}));
        EXPECT_EQ(u->string("username"), names[i]);
        EXPECT_EQ(u->string("is_password"), flags[i]);
    }
}

TEST(XmlRecord, NumberingSkipsKeysAlreadyTaken) {
    // An element literally named "x_1" takes that key first; the second "x" must move on to
    // "x_2", and a third to "x_3".
    auto r = recordFromXmlReply("<a><x>1</x><x_1>2</x_1><x>3</x><x>4</x></a>");
    ASSERT_TRUE(r);
    EXPECT_EQ(keysOf(*r), (std::vector<std::string>{"x", "x_1", "x_2", "x_3"}));
    EXPECT_EQ(r->string("x_1"), "2");
    EXPECT_EQ(r->string("x_2"), "3");
    EXPECT_EQ(r->string("x_3"), "4");
}

TEST(XmlRecord, TwoShareAccessElements) {
    auto r = recordFromXmlReply(
        "<shares><share><share_name>Home</share_name><public_access>false</public_access>"
        "<share_access>RW</share_access><share_access>RO</share_access></share></shares>");
    ASSERT_TRUE(r);
    const Record* share = r->record("share");
    ASSERT_NE(share, nullptr);
    EXPECT_EQ(share->keys(), (std::vector<std::string>{"share_name", "public_access",
                                                       "share_access", "share_access_1"}));
    EXPECT_EQ(share->string("share_access"), "RW");
    EXPECT_EQ(share->string("share_access_1"), "RO");
}

TEST(XmlRecord, RootWithOnlyTextGivesEmptyRecord) {
    auto r = recordFromXmlReply("<status>success</status>");
    ASSERT_TRUE(r);
    EXPECT_TRUE(r->empty());
}

TEST(XmlRecord, FirstChildWithoutChildrenMakesALeaf) {
    // <a><b/></a>: the probe <b/> has no children, so a is a leaf and b is lost.
    auto r = recordFromXmlReply("<root><a><b/></a></root>");
    ASSERT_TRUE(r);
    EXPECT_EQ(keysOf(*r), std::vector<std::string>{"a"});
    ASSERT_TRUE(r->find("a")->isString());
    EXPECT_EQ(r->string("a"), "");
}

TEST(XmlRecord, TextFirstMakesALeafWithAllText) {
    auto r = recordFromXmlReply("<root><a>text<b>x</b></a></root>");
    ASSERT_TRUE(r);
    ASSERT_TRUE(r->find("a")->isString());
    EXPECT_EQ(r->string("a"), "textx");
}

TEST(XmlRecord, StructuredWhenFirstChildHasChildren) {
    auto r = recordFromXmlReply("<root><a><b>x</b><c/></a></root>");
    ASSERT_TRUE(r);
    const Record* a = r->record("a");
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a->keys(), (std::vector<std::string>{"b", "c"}));
    EXPECT_EQ(a->string("b"), "x");
    ASSERT_TRUE(a->find("c")->isString());
    EXPECT_EQ(a->string("c"), "");
}

TEST(XmlRecord, OnlyTheFirstChildIsProbed) {
    // The first child of a is a leaf element <b/> (no children), so a is a leaf even though
    // its second child has structure; its value is all the text below it.
    auto r = recordFromXmlReply("<root><a><b/><c><d>deep</d></c></a></root>");
    ASSERT_TRUE(r);
    EXPECT_EQ(r->string("a"), "deep");
}

TEST(XmlRecord, AttributesNeverProduceKeys) {
    auto r = recordFromXmlReply(
        "<root id=\"7\"><user kind=\"admin\"><username lang=\"en\">a</username>"
        "<x>1</x></user></root>");
    ASSERT_TRUE(r);
    EXPECT_EQ(keysOf(*r), std::vector<std::string>{"user"});
    const Record* u = r->record("user");
    ASSERT_NE(u, nullptr);
    EXPECT_EQ(u->keys(), (std::vector<std::string>{"username", "x"}));
    EXPECT_EQ(u->string("username"), "a");
}

TEST(XmlRecord, CommentsAndTextChildrenAreDropped) {
    auto r = recordFromXmlReply("<root>loose text<!-- note --><a>1</a>tail</root>");
    ASSERT_TRUE(r);
    EXPECT_EQ(keysOf(*r), std::vector<std::string>{"a"});
    EXPECT_EQ(r->string("a"), "1");
}

TEST(XmlRecord, EntitiesAndCdataInLeafText) {
    auto r = recordFromXmlReply("<root><a>x &amp; y &lt;z&gt;</a><b><![CDATA[<raw>]]></b></root>");
    ASSERT_TRUE(r);
    EXPECT_EQ(r->string("a"), "x & y <z>");
    EXPECT_EQ(r->string("b"), "<raw>");
}

TEST(XmlRecord, PrettyPrintedConvertsLikeCompact) {
    const std::string compact =
        "<?xml version=\"1.0\"?><shares><share><share_name>Public</share_name>"
        "<public_access>true</public_access><share_access>RW</share_access></share>"
        "<share><share_name>Backup</share_name><public_access>false</public_access>"
        "<share_access>RW</share_access><share_access>RO</share_access></share>"
        "<empty></empty><nested><a><b/></a></nested></shares>";
    const std::string pretty =
        "<?xml version=\"1.0\"?>\n<shares>\n  <share>\n    <share_name>Public</share_name>\n"
        "    <public_access>true</public_access>\n    <share_access>RW</share_access>\n"
        "  </share>\n\t<share>\r\n    <share_name>Backup</share_name>\n"
        "    <public_access>false</public_access>\n    <share_access>RW</share_access>\n"
        "    <share_access>RO</share_access>\n  </share>\n  <empty></empty>\n"
        "  <nested>\n    <a>\n      <b/>\n    </a>\n  </nested>\n</shares>\n";
    auto a = recordFromXmlReply(compact);
    auto b = recordFromXmlReply(pretty);
    ASSERT_TRUE(a);
    ASSERT_TRUE(b);
    EXPECT_EQ(*a, *b);
    EXPECT_EQ(a->keys(), (std::vector<std::string>{"share", "share_1", "empty", "nested"}));
    EXPECT_EQ(a->record("nested")->string("a"), "");
}

TEST(XmlRecord, BlankTextOfALeafIsKept) {
    // Only whitespace between elements is layout; an element holding nothing but blanks keeps
    // them as its value.
    auto r = recordFromXmlReply("<root><name>  </name></root>");
    ASSERT_TRUE(r);
    EXPECT_EQ(r->string("name"), "  ");
}

TEST(XmlRecord, ConvertsAnElementOfAnyDocument) {
    const std::string xml = "<a><b><c>1</c></b><b>2</b></a>";
    xmlDoc* doc =
        xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr, XML_PARSE_NONET);
    ASSERT_NE(doc, nullptr);
    auto r = dictionaryFromXMLNode(xmlDocGetRootElement(doc));
    xmlFreeDoc(doc);
    ASSERT_TRUE(r);
    EXPECT_EQ(r->keys(), (std::vector<std::string>{"b", "b_1"}));
    EXPECT_EQ(r->record("b")->string("c"), "1");
    EXPECT_EQ(r->string("b_1"), "2");
}

TEST(XmlRecord, MalformedMarkupIsRepaired) {
    auto r = recordFromXmlReply("<local_login><status>failure</status>");
    ASSERT_TRUE(r);
    EXPECT_EQ(r->string("status"), "failure");
    auto s = recordFromXmlReply("<a><b>1</c><d>2</d></a>");
    ASSERT_TRUE(s);
    EXPECT_EQ(s->string("b"), "1");
    EXPECT_EQ(s->string("d"), "2");
}
