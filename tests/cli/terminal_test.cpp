// The console's key reader, on a pipe put in place of stdin.
#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <cstring>
#include <string>

#include "support.h"
#include "terminal.h"

namespace {

// Puts the read end of a pipe in place of stdin for one test, and stdin back afterwards.
class PipeAsStdin {
  public:
    PipeAsStdin() {
        if (pipe(ends_) != 0) return;
        saved_ = dup(STDIN_FILENO);
        ok_ = saved_ >= 0 && dup2(ends_[0], STDIN_FILENO) == STDIN_FILENO;
    }
    ~PipeAsStdin() {
        if (saved_ >= 0) {
            dup2(saved_, STDIN_FILENO);
            close(saved_);
        }
        closeWriter();
        if (ends_[0] >= 0) close(ends_[0]);
    }
    bool ok() const { return ok_; }
    bool write(const char* bytes) {
        const ssize_t size = static_cast<ssize_t>(std::strlen(bytes));
        return ::write(ends_[1], bytes, static_cast<size_t>(size)) == size;
    }
    void closeWriter() {
        if (ends_[1] >= 0) close(ends_[1]);
        ends_[1] = -1;
    }

  private:
    int ends_[2] = {-1, -1};
    int saved_ = -1;
    bool ok_ = false;
};

}  // namespace

// A terminal reading the pipe, its keys and ends counted.
class Terminal : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(input.ok());
        terminal.startKeys([this](char k) { keys.push_back(k); }, [this] { ++ends; });
    }

    PipeAsStdin input;
    qvt::cli::Terminal terminal;
    std::string keys;
    int ends = 0;
};

TEST_F(Terminal, KeysAndTheEndOfInputReachTheReceiver) {
    ASSERT_TRUE(input.write("sy"));
    ASSERT_TRUE(qvt::test::waitFor([&] { return keys == "sy"; }, 5.0)) << keys;
    input.closeWriter();
    ASSERT_TRUE(qvt::test::waitFor([&] { return ends == 1; }, 5.0));
    EXPECT_TRUE(terminal.inputEnded());
}

// The console session goes before the process ends; input that comes or ends after it must not
// call into it (it did, and read a destroyed session).
TEST_F(Terminal, NothingReachesAReceiverThatHasLetGo) {
    ASSERT_TRUE(input.write("a"));
    ASSERT_TRUE(qvt::test::waitFor([&] { return keys == "a"; }, 5.0));

    terminal.stopKeys();
    ASSERT_TRUE(input.write("b"));
    input.closeWriter();
    // A reader still watching stdin would be called on the first turn of the event loop: the
    // byte is there and so is the end.
    for (int turn = 0; turn < 20; ++turn) QCoreApplication::processEvents(QEventLoop::AllEvents);
    EXPECT_EQ(keys, "a");
    EXPECT_EQ(ends, 0);
    // The byte is still in stdin, unread.
    char byte = 0;
    EXPECT_EQ(read(STDIN_FILENO, &byte, 1), 1);
    EXPECT_EQ(byte, 'b');
}
