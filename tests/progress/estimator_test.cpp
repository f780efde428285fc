// The remaining-time estimator driven pass by pass on a manual clock.
#include <gtest/gtest.h>

#include <filesystem>

#include "progress_fixture.h"

using namespace qvt;
using namespace qvt::test;

namespace {

// Sets the counters so that the next pass estimates exactly `r` seconds: 10 bytes done in 10
// seconds, `r` * 1 byte per second still to go. `parked` says the estimator waits in its sleep,
// whose 3 seconds pass before the next sample.
void arrangeEstimate(ManualSession& s, std::uint64_t r, bool parked) {
    s.c->job().totalTransferredFilesSize = 10;
    s.c->totalSourceFilesSize = 10 + r;
    const double ahead = parked ? 3.0 : 0.0;
    s.c->job().setStartedAt(s.clock->now() + platform::secondsToDuration(ahead - 10.0));
}

std::string filesLine(const ManualSession& s) {
    return "Uploading file " + std::to_string(s.c->job().progressValue.load()) + " of " +
           std::to_string(s.c->job().numberOfFilesCountForTransfer.load());
}

}  // namespace

TEST(Estimator, StartsWithTheCalculatingText) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 4;
    s.c->totalSourceFilesSize = 0;  // nothing known yet: no estimate
    EstimatorDriver d(s);
    d.start();
    ASSERT_TRUE(d.waitPasses(1));
    EXPECT_EQ(s.c->progressStatus.get(),
              "Uploading file 1 of 4\nEstimated time remaining: calculating");
    EXPECT_EQ(s.c->progressStatusMsg1.get(), "Uploading file 1 of 4");
    EXPECT_EQ(s.c->progressStatusMsg2.get(), "Estimated time remaining: calculating");
    EXPECT_EQ(d.lastSleep(), 3.0);
    // With S = 0 the bars take 0 as their maximum and the calculating text stays.
    EXPECT_EQ(s.c->progressMaxValue, 0);
    d.next();
    ASSERT_TRUE(d.waitPasses(2));
    EXPECT_EQ(s.c->progressStatusMsg2.get(), "Estimated time remaining: calculating");
}

TEST(Estimator, EveryRowOfTheTableThroughThePasses) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 9;
    s.c->job().progressValue = 3;
    struct Row {
        std::uint64_t r;
        const char* shown;  // what the second line says after this pass
    };
    // 60 and 5460 have a seconds part of 0: the pass keeps the previous text.
    const std::vector<Row> rows = {
        {59, "59 seconds"}, {60, "59 seconds"}, {119, "1 minute"}, {150, "2 minutes"},
        {151, "3 minutes"}, {1, "1 second"},    {5401, "1 hour"},  {5460, "1 hour"},
        {5461, "2 hours"},  {7201, "2 hours"},  {7200, "2 hours"}, {30, "30 seconds"},
    };
    EstimatorDriver d(s);
    arrangeEstimate(s, rows[0].r, false);
    d.start();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (i > 0) {
            arrangeEstimate(s, rows[i].r, true);
            d.next();
        }
        ASSERT_TRUE(d.waitPasses(static_cast<int>(i) + 1)) << "pass " << i;
        EXPECT_EQ(s.c->progressStatus.get(), filesLine(s) + "\n" + s.estimateLine(rows[i].shown))
            << "R = " << rows[i].r;
        EXPECT_EQ(s.c->progressStatusMsg2.get(), s.estimateLine(rows[i].shown));
        // The bars move on every pass, refreshed text or not.
        EXPECT_EQ(s.c->progressMaxValue, static_cast<std::int64_t>(10 + rows[i].r));
        EXPECT_EQ(s.c->progressMaxValue2, static_cast<std::int64_t>(10 + rows[i].r));
        EXPECT_EQ(s.c->transferProgressValue, 10);
        EXPECT_EQ(s.c->transferProgressValue2, 10);
    }
}

TEST(Estimator, TheFileInMidCopyCountsWithTheHandledBytes) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    TempDir dest;
    writeFile(dest / "partial.bin", std::string(1000, 'x'));
    s.c->job().inProcessDestFilePath.set(dest / "partial.bin");
    s.c->job().totalTransferredFilesSize = 1000;
    s.c->totalSourceFilesSize = 4000;
    s.c->job().setStartedAt(s.clock->now() - std::chrono::seconds(10));
    EstimatorDriver d(s);
    d.start();
    ASSERT_TRUE(d.waitPasses(1));
    // T = 2000 of 4000 in 10 s: 10 s to go.
    EXPECT_EQ(s.c->transferProgressValue, 2000);
    EXPECT_EQ(s.c->progressStatusMsg2.get(), s.estimateLine("10 seconds"));

    // A size that cannot be read counts as 0: T = 1000, 30 s to go.
    s.c->job().inProcessDestFilePath.set(dest / "missing.bin");
    s.c->job().setStartedAt(s.clock->now() + std::chrono::seconds(3 - 10));
    d.next();
    ASSERT_TRUE(d.waitPasses(2));
    EXPECT_EQ(s.c->transferProgressValue, 1000);
    EXPECT_EQ(s.c->progressStatusMsg2.get(), s.estimateLine("30 seconds"));
}

TEST(Estimator, AllBytesDoneMakesNoEstimate) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    arrangeEstimate(s, 59, false);
    EstimatorDriver d(s);
    d.start();
    ASSERT_TRUE(d.waitPasses(1));
    ASSERT_EQ(s.c->progressStatusMsg2.get(), s.estimateLine("59 seconds"));
    s.c->job().totalTransferredFilesSize = s.c->totalSourceFilesSize.load();
    d.next();
    ASSERT_TRUE(d.waitPasses(2));
    EXPECT_EQ(s.c->progressStatusMsg2.get(), s.estimateLine("59 seconds"));
    EXPECT_EQ(s.c->transferProgressValue, s.c->progressMaxValue);
}

TEST(Estimator, MoreBytesThanTheTotalGivesAnAbsurdEstimateWithoutCrashing) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    // (10 - 30) wraps to 2^64 - 20; over 30 bytes a second that is 614891469123651719 s.
    s.c->totalSourceFilesSize = 10;
    s.c->job().totalTransferredFilesSize = 30;
    s.c->job().setStartedAt(s.clock->now() - std::chrono::seconds(1));
    EstimatorDriver d(s);
    d.start();
    ASSERT_TRUE(d.waitPasses(1));
    EXPECT_EQ(s.c->progressStatusMsg2.get(), s.estimateLine("170803185867681 hours"));
}

TEST(Estimator, SendsTheStatusMessageFromItsOwnThreadEveryPass) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    arrangeEstimate(s, 59, false);
    s.c->subProgressStatus.set("sub");
    EstimatorDriver d(s);
    d.start();
    ASSERT_TRUE(d.waitPasses(1));
    arrangeEstimate(s, 151, true);
    d.next();
    ASSERT_TRUE(d.waitPasses(2));
    const auto messages = s.delegate->messages();
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0].status, filesLine(s) + "\n" + s.estimateLine("59 seconds"));
    EXPECT_EQ(messages[1].status, filesLine(s) + "\n" + s.estimateLine("3 minutes"));
    for (const auto& m : messages) {
        EXPECT_EQ(m.thread, d.estimatorThread());
        EXPECT_FALSE(m.completed);
        EXPECT_FALSE(m.paused);
        EXPECT_TRUE(m.reachable);
        EXPECT_EQ(m.subStatus, "sub");
    }
}

TEST(Estimator, APassThatFindsTheUploadPausedWaitsForTheResume) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 5;
    s.c->job().progressValue = 2;
    arrangeEstimate(s, 59, false);
    s.c->pauseTransfer();
    EstimatorDriver d(s);
    d.start();
    ASSERT_TRUE(waitFor([&] { return s.c->job().waiters() == 1; }));
    EXPECT_TRUE(s.h.log->contains("QVTransfer: calculateRemainingTime 1: timeRemaining_semaphore"));
    EXPECT_FALSE(
        s.h.log->contains("QVTransfer: calculateRemainingTime 2: timeRemaining_semaphore"));
    EXPECT_EQ(d.passes(), 0);
    // Its start text stands meanwhile: no estimate is made while paused.
    EXPECT_EQ(s.c->progressStatusMsg1.get(), "Uploading file 2 of 5");
    EXPECT_EQ(s.c->progressStatusMsg2.get(), "Estimated time remaining: calculating");

    s.c->resumeTransfer();
    ASSERT_TRUE(d.waitPasses(1));
    EXPECT_TRUE(s.h.log->contains("QVTransfer: calculateRemainingTime 2: timeRemaining_semaphore"));
    EXPECT_EQ(s.c->progressStatusMsg2.get(), s.estimateLine("59 seconds"));
    const auto messages = s.delegate->messages();
    ASSERT_FALSE(messages.empty());
    EXPECT_FALSE(messages.back().paused);
}

TEST(Estimator, PauseBlocksThePassAndResumeGoesOnWithoutCountingThePause) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    arrangeEstimate(s, 59, false);
    EstimatorDriver d(s);
    d.start();
    ASSERT_TRUE(d.waitPasses(1));
    ASSERT_EQ(s.c->progressStatusMsg2.get(), s.estimateLine("59 seconds"));

    // Paused at the moment the first pass ended: from here on no time counts until the resume,
    // so the next pass sees the same 10 seconds of upload.
    arrangeEstimate(s, 59, false);
    s.c->pauseTransfer();
    ASSERT_TRUE(s.c->uploadPaused());
    d.next();
    ASSERT_TRUE(waitFor(
        [&] { return s.h.log->contains("calculateRemainingTime 1: timeRemaining_semaphore"); }));
    EXPECT_FALSE(s.h.log->contains("calculateRemainingTime 2: timeRemaining_semaphore"));
    EXPECT_EQ(s.c->progressStatusMsg2.get(), "Upload paused");

    // A long pause: 100 seconds pass before the resume.
    s.clock->advance(100);
    s.c->resumeTransfer();
    ASSERT_TRUE(d.waitPasses(2));
    EXPECT_TRUE(s.h.log->contains("calculateRemainingTime 2: timeRemaining_semaphore"));
    // Had the pause counted, E would be 113 s and the estimate over 11 minutes.
    EXPECT_EQ(s.c->progressStatusMsg2.get(), s.estimateLine("59 seconds"));
}

// The resume takes the paused line away at once; the estimate follows with the next pass.
// A device full again after its one dialog is tried again without a dialog: the status says
// what the upload waits for rather than an estimate that only grows, and the estimate comes
// back once the file has gone through.
TEST(Estimator, ADeviceFullAgainShowsTheWaitForRoomInPlaceOfTheEstimate) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 4;
    arrangeEstimate(s, 59, false);
    const std::string room = s.c->localizedString("OUT_OF_SPACE_MSG_2_txt");
    ASSERT_FALSE(room.empty());
    EstimatorDriver d(s);
    d.start();
    ASSERT_TRUE(d.waitPasses(1));
    ASSERT_EQ(s.c->progressStatus.get(), filesLine(s) + "\n" + s.estimateLine("59 seconds"));
    s.c->job().stillFull = true;
    d.next();
    ASSERT_TRUE(d.waitPasses(2));
    EXPECT_EQ(s.c->progressStatus.get(), filesLine(s) + "\n" + room);
    EXPECT_EQ(s.c->progressStatusMsg2.get(), room);
    // Room again: an estimate that would not refresh the text (60 seconds have a seconds part
    // of 0) still replaces the wait.
    s.c->job().stillFull = false;
    arrangeEstimate(s, 60, true);
    d.next();
    ASSERT_TRUE(d.waitPasses(3));
    EXPECT_EQ(s.c->progressStatus.get(), filesLine(s) + "\nEstimated time remaining: calculating");
}

TEST(Estimator, ResumeReplacesThePausedLineAtOnce) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 5;
    s.c->job().progressValue = 2;
    s.c->job().begin();
    s.c->pauseTransfer();
    ASSERT_EQ(s.c->progressStatusMsg2.get(), "Upload paused");
    s.c->resumeTransfer();
    EXPECT_EQ(s.c->progressStatusMsg1.get(), "Uploading file 2 of 5");
    EXPECT_EQ(s.c->progressStatusMsg2.get(), "Estimated time remaining: calculating");
}

TEST(Estimator, CompletedWithoutFailuresEndsWithTheAllFilesTextAndFullBars) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    arrangeEstimate(s, 59, false);
    EstimatorDriver d(s);
    d.start();
    ASSERT_TRUE(d.waitPasses(1));
    s.c->job().complete();
    d.next();
    ASSERT_TRUE(d.waitFinished());
    EXPECT_EQ(s.c->progressStatus.get(), "All files uploaded");
    EXPECT_EQ(s.c->progressStatusMsg1.get(), "All files uploaded");
    EXPECT_EQ(s.c->transferProgressValue, 69);
    EXPECT_EQ(s.c->transferProgressValue2, 69);
    EXPECT_FALSE(s.c->isFileTransferFailed());
}

TEST(Estimator, FailureFlagEndsTheLoopAndTheEndStepClearsItWhenTheListIsEmpty) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    arrangeEstimate(s, 59, false);
    EstimatorDriver d(s);
    d.start();
    ASSERT_TRUE(d.waitPasses(1));
    s.c->job().setFailed(true);
    d.next();
    ASSERT_TRUE(d.waitFinished());
    EXPECT_FALSE(s.c->isFileTransferFailed());
    // Not completed: the estimate text stays, the bars are not filled.
    EXPECT_EQ(s.c->progressStatusMsg2.get(), s.estimateLine("59 seconds"));
    EXPECT_EQ(s.c->transferProgressValue, 10);
}

TEST(Estimator, CompletedWithFailuresEndsWithTheSomeFilesText) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 7;
    s.c->job().progressValue = 7;
    // Seven files handled, two of them failed.
    s.c->job().filesArrived = 5;
    s.c->failedTransferArray.set(
        List{Record{{"sourceFilePath", "/a"}}, Record{{"sourceFilePath", "/b"}}});
    arrangeEstimate(s, 59, false);
    EstimatorDriver d(s);
    d.start();
    ASSERT_TRUE(d.waitPasses(1));
    s.c->job().complete();
    s.c->job().setFailed(true);
    d.next();
    ASSERT_TRUE(d.waitFinished());
    EXPECT_EQ(s.c->progressStatus.get(), "5 of 7 files uploaded");
    EXPECT_EQ(s.c->progressStatusMsg1.get(), "5 of 7 files uploaded");
    EXPECT_TRUE(s.c->isFileTransferFailed());
}

TEST(Estimator, CompletionEndsAPauseAndShowsTheAllFilesText) {
    // The last file finishes while a pause is in force: the upload is complete, not paused.
    ManualSession s;
    ASSERT_TRUE(s.c);
    s.c->job().numberOfFilesCountForTransfer = 3;
    arrangeEstimate(s, 59, false);
    EstimatorDriver d(s);
    d.start();
    ASSERT_TRUE(d.waitPasses(1));
    s.c->pauseTransfer();
    s.c->job().complete();
    EXPECT_FALSE(s.c->uploadPaused());
    d.next();
    ASSERT_TRUE(d.waitFinished());
    EXPECT_EQ(s.c->progressStatus.get(), "All files uploaded");
    EXPECT_EQ(s.c->progressStatusMsg1.get(), "All files uploaded");
}

TEST(Estimator, CancelDuringTheSleepEndsWithoutTheEndStep) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    arrangeEstimate(s, 59, false);
    EstimatorDriver d(s);
    d.start();
    ASSERT_TRUE(d.waitPasses(1));
    const std::size_t before = s.delegate->messageCount();
    s.c->job().cancel();
    s.c->job().complete();
    d.next();
    ASSERT_TRUE(d.waitFinished());
    EXPECT_EQ(d.passes(), 1);
    EXPECT_EQ(s.delegate->messageCount(), before);
    // The end step would have written the all-files text.
    EXPECT_EQ(s.c->progressStatusMsg2.get(), s.estimateLine("59 seconds"));
    EXPECT_NE(s.c->progressStatus.get(), "All files uploaded");
}

TEST(Estimator, AlreadyCancelledStopsAfterTheCalculatingText) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    arrangeEstimate(s, 59, false);
    s.c->job().cancel();
    EstimatorDriver d(s);
    d.start();
    ASSERT_TRUE(d.waitFinished());
    EXPECT_EQ(d.passes(), 0);
    EXPECT_EQ(s.delegate->messageCount(), 0u);
    EXPECT_EQ(s.c->progressStatusMsg2.get(), "Estimated time remaining: calculating");
}

TEST(Estimator, RunsOnAScaledRealClock) {
    // The shipped clock, scaled: three passes of "3 seconds" take a few real milliseconds.
    Harness h(1000.0);
    auto c = QVTransferPrivate::initWithDevice(nasDevice(), h.services);
    ASSERT_TRUE(c);
    auto delegate = std::make_shared<KeepingDelegate>();
    c->setDelegate(delegate);
    c->totalSourceFilesSize = 1000;
    c->job().totalTransferredFilesSize = 10;
    c->job().setStartedAt(h.services.clock->now());
    std::atomic<bool> done{false};
    h.services.dispatch->async(platform::QueuePriority::High, [c, &done] {
        c->calculateRemainingTime();
        done = true;
    });
    ASSERT_TRUE(waitFor([&] { return delegate->messageCount() >= 3; }));
    c->job().complete();
    ASSERT_TRUE(waitFor([&] { return done.load(); }));
    EXPECT_EQ(c->progressStatus.get(), c->localeALL_FILES_SUCCESSFULLY_UPLOADED_txt);
    EXPECT_TRUE(h.services.dispatch->waitIdle(10));
}

TEST(HideStatusWindow, BeforeCompletionMinimises) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    s.c->hideStatusWindow();
    EXPECT_TRUE(s.c->isStatusWindowHidden);
    EXPECT_TRUE(s.h.view->called("minimizeWindow"));
    EXPECT_FALSE(s.h.view->called("closeWindow"));
}

TEST(HideStatusWindow, AfterCompletionCloses) {
    ManualSession s;
    ASSERT_TRUE(s.c);
    s.c->job().complete();
    s.c->hideStatusWindow();
    EXPECT_TRUE(s.c->isStatusWindowHidden);
    EXPECT_TRUE(s.h.view->called("closeWindow"));
    EXPECT_FALSE(s.h.view->called("minimizeWindow"));
}
