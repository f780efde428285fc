// --json: every line on stdout is one JSON object naming its event, and file names of any bytes
// stay valid JSON.
#include <QJsonDocument>
#include <QJsonObject>
#include <set>
#include <sstream>

#include "cli_fixture.h"
#include "json_events.h"

using namespace qvt;
using namespace qvt::clitest;

namespace {

constexpr double kDeadline = 60;

std::vector<QJsonObject> eventsIn(const std::string& out) {
    std::vector<QJsonObject> events;
    std::istringstream in(out);
    for (std::string line; std::getline(in, line);) {
        QJsonParseError error{};
        const QJsonDocument doc = QJsonDocument::fromJson(QByteArray::fromStdString(line), &error);
        EXPECT_EQ(error.error, QJsonParseError::NoError) << "not JSON: " << line;
        EXPECT_TRUE(doc.isObject()) << line;
        events.push_back(doc.object());
        EXPECT_TRUE(events.back().contains(QStringLiteral("event"))) << line;
    }
    return events;
}

std::vector<QJsonObject> named(const std::vector<QJsonObject>& events, const char* name) {
    std::vector<QJsonObject> out;
    for (const QJsonObject& e : events)
        if (e.value(QStringLiteral("event")).toString() == QLatin1String(name)) out.push_back(e);
    return out;
}

}  // namespace

TEST(JsonEvents, StringsAreEscapedAndBytesThatAreNotUtf8BecomeTheReplacementCharacter) {
    EXPECT_EQ(cli::jsonString("a\"b\\c\nd\x01"), "\"a\\\"b\\\\c\\u000ad\\u0001\"");
    EXPECT_EQ(cli::jsonString("Gr\xc3\xbc\xc3\x9f"), "\"Gr\xc3\xbc\xc3\x9f\"");
    EXPECT_EQ(cli::jsonString("bad\xffname\xc3"), "\"bad\xEF\xBF\xBDname\xEF\xBF\xBD\"");
    EXPECT_EQ(cli::jsonEvent("x", {{"n", std::int64_t{-2}}, {"ok", true}, {"s", "t"}}),
              "{\"event\":\"x\",\"n\":-2,\"ok\":true,\"s\":\"t\"}");
}

TEST_F(CliTest, JsonGivesOneObjectPerEventAndNothingElseOnStdout) {
    TmpfsVolume volume(work / "Drive", 32 << 20);
    ASSERT_TRUE(volume.ok());
    prepareHolidayWithBrokenLink(volume);
    test::writeFile(work / "src/Holiday/not utf8 \xff.txt", "odd\n");

    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", volume.path(), "--name", "Test Drive", "--destination",
                              "Drive/Inbox", "--json", work / "src/Holiday"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
    EXPECT_EQ(child.errors(), "");
    const std::vector<QJsonObject> events = eventsIn(child.output());
    ASSERT_GE(events.size(), 4u) << child.output();

    EXPECT_EQ(events.front().value(QStringLiteral("event")).toString(), QStringLiteral("started"));
    const int counted = events.front().value(QStringLiteral("files")).toInt();
    EXPECT_GT(counted, 1);
    const auto failed = named(events, "failed");
    ASSERT_EQ(failed.size(), 1u) << child.output();
    EXPECT_EQ(failed[0].value(QStringLiteral("path")).toString().toStdString(),
              work / "src/Holiday/broken.txt");
    EXPECT_EQ(failed[0].value(QStringLiteral("reason")).toString(),
              QStringLiteral("The link points to nothing."));
    const auto completed = named(events, "completed");
    ASSERT_EQ(completed.size(), 1u) << child.output();
    EXPECT_EQ(completed[0].value(QStringLiteral("files")).toInt(), counted - 1);
    EXPECT_EQ(completed[0].value(QStringLiteral("failed")).toInt(), 1);
    EXPECT_EQ(completed[0].value(QStringLiteral("destination")).toString(),
              QStringLiteral("Drive/Inbox"));
    EXPECT_EQ(events.back().value(QStringLiteral("event")).toString(), QStringLiteral("ended"));
    EXPECT_EQ(events.back().value(QStringLiteral("exitStatus")).toInt(), 1);
    // The end says what happened, as the last line of a run without --json does.
    const std::string message =
        events.back().value(QStringLiteral("message")).toString().toStdString();
    EXPECT_NE(message.find(" to Drive/Inbox in "), std::string::npos) << message;
    EXPECT_NE(message.find("1 item failed"), std::string::npos) << message;
    EXPECT_EQ(test::readFile(volume.path() + "/Inbox/Holiday/not utf8 \xff.txt"), "odd\n");

    // Each file that arrived is told once, with where it is now, before the upload's end; the
    // destination named holds it whole.
    const auto arrived = named(events, "arrived");
    EXPECT_EQ(static_cast<int>(arrived.size()), counted - 1) << child.output();
    std::set<std::string> paths;
    for (const QJsonObject& e : arrived) {
        const std::string path = e.value(QStringLiteral("path")).toString().toStdString();
        const std::string destination =
            e.value(QStringLiteral("destination")).toString().toStdString();
        EXPECT_TRUE(paths.insert(path).second) << path;
        EXPECT_EQ(path.rfind(work / "src/Holiday/", 0), 0u) << path;
        EXPECT_EQ(destination,
                  volume.path() + "/Inbox/Holiday/" + path.substr((work / "src/Holiday/").size()))
            << path;
        EXPECT_EQ(test::readFile(destination), test::readFile(path)) << path;
    }
    EXPECT_TRUE(paths.count(work / "src/Holiday/diary.txt"));
    EXPECT_FALSE(paths.count(work / "src/Holiday/broken.txt"));
    std::size_t lastArrived = 0, completedAt = 0;
    for (std::size_t i = 0; i < events.size(); ++i) {
        const QString name = events[i].value(QStringLiteral("event")).toString();
        if (name == QLatin1String("arrived")) lastArrived = i;
        if (name == QLatin1String("completed")) completedAt = i;
    }
    EXPECT_LT(lastArrived, completedAt);
}

// The move warning is a sentence, not an event: with --json it goes to stderr with its answer,
// and stdout stays events only.
TEST_F(CliTest, JsonKeepsTheMoveWarningOffStdout) {
    TmpfsVolume volume(work / "Drive", 32 << 20);
    ASSERT_TRUE(volume.ok());
    test::writeFile(work / "src/notes.txt", "notes\n");
    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", volume.path(), "--destination", "Drive", "--move", "--json",
                              work / "src/notes.txt"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    const std::vector<QJsonObject> events = eventsIn(child.output());
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events.back().value(QStringLiteral("event")).toString(), QStringLiteral("ended"));
    EXPECT_NE(child.errors().find("Yes: --move was given, so the sources are moved.\n"),
              std::string::npos)
        << child.errors();
    EXPECT_EQ(test::readFile(volume.path() + "/notes.txt"), "notes\n");
    EXPECT_FALSE(fs::exists(work / "src/notes.txt"));
}

// A wait for room and its end are two events that say what was waited for, in the same key.
TEST_F(CliTest, JsonTellsTheWaitForRoomAndItsEnd) {
    TmpfsVolume volume(work / "Drive", 4 << 20);
    ASSERT_TRUE(volume.ok());
    test::writeFile(volume.path() + "/filler.bin", std::string(3 << 20, 'f'));
    test::writeFile(work / "src/photo.bin", std::string(2 << 20, 'p'));
    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", volume.path(), "--destination", "Drive", "--json",
                              work / "src/photo.bin"}));
    ASSERT_TRUE(child.waitForOutput("{\"event\":\"waiting\",\"for\":\"space\"}", kDeadline))
        << child.output() << child.errors();
    fs::remove(volume.path() + "/filler.bin");
    child.write("r");  // look at the free space now
    ASSERT_TRUE(child.waitForOutput("{\"event\":\"continuing\",\"for\":\"space\"}", kDeadline))
        << child.output() << child.errors();
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    EXPECT_EQ(test::readFile(volume.path() + "/photo.bin"), std::string(2 << 20, 'p'));
    eventsIn(child.output());  // every line an event
}
