// The console's view tells its session when something it waits for changed, so the session
// takes its next step at once rather than at its next tick.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThread>
#include <thread>

#include "console_view.h"
#include "support/support.h"

using qvt::Screen;
using qvt::StatusSnapshot;
using qvt::cli::ConsoleView;
using qvt::test::waitFor;

namespace {

// Runs what the main thread's queue holds now; a call the view posted runs within it.
void settle() {
    for (int i = 0; i < 5; ++i) QCoreApplication::processEvents(QEventLoop::AllEvents);
}

}  // namespace

TEST(ConsoleView, TellsOfEachTurnOnceButNotOfEveryCounter) {
    ConsoleView view;
    int calls = 0;
    view.setChangeHandler([&] { ++calls; });

    // A screen and its contents given together are one look for the session.
    const Screen sources = Screen::Sources;
    view.showScreen(&sources);
    view.showSources({});
    ASSERT_TRUE(waitFor([&] { return calls == 1; }, 10));
    settle();
    EXPECT_EQ(calls, 1);

    // The counters move with every file: no call for them.
    StatusSnapshot status;
    status.state = qvt::engine::UploadState::Copying;
    view.showStatus(status);
    ASSERT_TRUE(waitFor([&] { return calls == 2; }, 10));
    status.filesDone = 5;
    status.bytesDone = 4096;
    view.showStatus(status);
    settle();
    EXPECT_EQ(calls, 2);

    // A pause, the end, and the end step's link each are a turn.
    status.paused = true;
    view.showStatus(status);
    ASSERT_TRUE(waitFor([&] { return calls == 3; }, 10));
    status.paused = false;
    status.state = qvt::engine::UploadState::Completed;
    view.showStatus(status);
    ASSERT_TRUE(waitFor([&] { return calls == 4; }, 10));
    status.uploadedFilesShown = true;
    view.showStatus(status);
    ASSERT_TRUE(waitFor([&] { return calls == 5; }, 10));

    // From the upload's thread the call still comes on the main thread.
    bool onMain = false;
    view.setChangeHandler([&] {
        onMain = QThread::currentThread() == QCoreApplication::instance()->thread();
        ++calls;
    });
    std::thread([&] { view.setEnabled("uploadButton", true); }).join();
    ASSERT_TRUE(waitFor([&] { return calls == 6; }, 10));
    EXPECT_TRUE(onMain);

    // Once the session has gone, a change calls nothing.
    view.setChangeHandler(nullptr);
    view.closeWindow();
    settle();
    EXPECT_EQ(calls, 6);
}
