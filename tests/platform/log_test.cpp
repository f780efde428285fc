#include <gtest/gtest.h>

#include <thread>

#include "capture_log.h"
#include "platform/log.h"

namespace qvt::platform {
namespace {

TEST(Log, EveryLineStartsWithThePrefix) {
    CaptureLog log;
    log.write("uploadFiles \n");
    log.write("QVTransfer: transferFile 1: transfer_semaphore");
    log.write("");
    log.write("mountStatus: smb://h/s, 0 \nmountPath: /m");
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], "QVTransfer: uploadFiles \n");
    EXPECT_EQ(lines[1], "QVTransfer: transferFile 1: transfer_semaphore");
    EXPECT_EQ(lines[2], "QVTransfer: ");
    EXPECT_EQ(lines[3], "QVTransfer: mountStatus: smb://h/s, 0 \nmountPath: /m");
    for (const auto& line : lines) EXPECT_EQ(line.rfind("QVTransfer: ", 0), 0u);
}

TEST(Log, ALineLongerThanFourKilobytesIsCutAtACharacterWithItsLength) {
    CaptureLog log;
    std::string users;
    for (int i = 0; i < 20000; ++i) users += "J\xC3\xBCrgen" + std::to_string(i) + ", ";
    log.write("allUsers: " + users);
    const std::string line = log.lines().at(0);
    EXPECT_LE(line.size(), 4096u);
    EXPECT_EQ(line.rfind("QVTransfer: allUsers: J\xC3\xBC", 0), 0u);
    const std::string note =
        " ... (" + std::to_string(std::string("QVTransfer: allUsers: ").size() + users.size()) +
        " bytes in all)";
    ASSERT_GT(line.size(), note.size());
    EXPECT_EQ(line.substr(line.size() - note.size()), note);
    // What is left before the note is whole UTF-8: it does not end inside a character.
    const std::string kept = line.substr(0, line.size() - note.size());
    std::size_t i = kept.size();
    while (i > 0 && (static_cast<unsigned char>(kept[i - 1]) & 0xC0) == 0x80) --i;
    ASSERT_GT(i, 0u);
    const auto lead = static_cast<unsigned char>(kept[i - 1]);
    const std::size_t length = lead < 0x80 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    EXPECT_EQ(kept.size() - (i - 1), length);
    // A line of exactly 4 KB is kept whole.
    log.clear();
    const std::string exact(4096 - std::string("QVTransfer: ").size(), 'x');
    log.write(exact);
    EXPECT_EQ(log.lines().at(0), "QVTransfer: " + exact);
}

TEST(Log, CaptureQueriesAndForwarding) {
    CaptureLog downstream;
    CaptureLog log(&downstream);
    log.write("pauseTransfer: transfer_semaphore");
    log.write("pauseTransfer: timeRemaining_semaphore");
    log.write("resumeTransfer: transfer_semaphore");
    EXPECT_TRUE(log.contains("pauseTransfer"));
    EXPECT_FALSE(log.contains("cancel"));
    EXPECT_EQ(log.count("transfer_semaphore"), 2u);
    EXPECT_EQ(log.count("QVTransfer: "), 3u);
    EXPECT_EQ(downstream.lines(), log.lines());
    log.clear();
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(downstream.lines().size(), 3u);
}

TEST(Log, CaptureFromManyThreads) {
    CaptureLog log;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&log, t] {
            for (int i = 0; i < 200; ++i) log.write("thread " + std::to_string(t));
        });
    for (auto& t : threads) t.join();
    EXPECT_EQ(log.lines().size(), 800u);
    EXPECT_EQ(log.count("thread 3"), 200u);
}

TEST(Log, SystemLogTakesPercentSignsLiterally) {
    // The line is an argument of syslog, never its format: this would crash otherwise.
    SysLog log;
    log.write("%s%s%s%n %@ 100%");
}

TEST(Redact, HidesTheSecret) {
    EXPECT_EQ(redact("user:s3cret@host", "s3cret"), "user:***@host");
    EXPECT_EQ(redact("s3cret and s3cret", "s3cret"), "*** and ***");
    EXPECT_EQ(redact("nothing here", "s3cret"), "nothing here");
    EXPECT_EQ(redact("keep me", ""), "keep me");
    EXPECT_EQ(redact("", "x"), "");
}

TEST(Redact, FindsEscapedSpellings) {
    const std::string secret = "p@ss word&=é";
    EXPECT_EQ(redact("password=p%40ss%20word%26%3D%C3%A9&x=1", secret), "password=***&x=1");
    EXPECT_EQ(redact("password=p%40ss+word%26%3d%c3%a9", secret), "password=***");
    EXPECT_EQ(redact("password=p@ss%20word&=%C3%A9 end", secret), "password=*** end");
    EXPECT_EQ(redact("local_login?password=%70%40ss word&=é", secret), "local_login?password=***");
    // A "%" in the secret itself, literal or escaped.
    EXPECT_EQ(redact("a=50%off b=50%25off", "50%off"), "a=*** b=***");
    // Near misses are left alone.
    EXPECT_EQ(redact("p%4", "p@"), "p%4");
    EXPECT_EQ(redact("p%41", "p@"), "p%41");
}

TEST(Redact, SeveralSecretsLongestFirst) {
    EXPECT_EQ(redactAll("user=admin pass=admin123", {"admin", "admin123"}), "user=*** pass=***");
    EXPECT_EQ(redactAll("plain", {}), "plain");
}

}  // namespace
}  // namespace qvt::platform
