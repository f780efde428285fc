// One upload's run-time state, in one object with one lock.
//
// The upload is in one state at a time: idle (not started), copying, paused, completed or
// cancelled. A pause has one or more reasons: the user's pause button, a device that went
// missing, a device that is full. Each reason is ended by its own way out (the resume button,
// the device found again, free space), and the upload copies again once no reason is left; a
// user who paused before the device went away finds the upload still paused when the device is
// back, and resumes it with the same button.
//
// Every change of state takes the lock, makes the change and wakes every thread that waits on
// the upload (the copy thread, the estimator, the state-file loop), so each sees a pause, a
// resumption, a cancel or the completion at once. Waiting threads always wait on this one
// condition, which nothing ever replaces.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "engine/taken_names.h"
#include "engine/unflushed_arrivals.h"
#include "platform/guarded.h"
#include "qvtransfer/Value.h"

namespace qvt::platform {
class Clock;
}

namespace qvt::engine {

enum class UploadState { Idle, Copying, Paused, Completed, Cancelled };

enum class PauseReason : unsigned {
    User = 1u << 0,           // the pause button, or the stop button's question
    DeviceMissing = 1u << 1,  // the destination's device or volume is gone
    DeviceFull = 1u << 2,     // the destination has no space left
};

const char* stateName(UploadState state);

class UploadJob {
  public:
    explicit UploadJob(std::shared_ptr<platform::Clock> clock);
    UploadJob(const UploadJob&) = delete;
    UploadJob& operator=(const UploadJob&) = delete;

    // ---- Changes of state: each wakes every waiter ----

    // Back to idle before a new upload is set up (the destination screen): no pause, not
    // cancelled, completed or failed.
    void reset();
    // The upload starts copying, its start time now.
    void begin();
    // Pauses for `reason`. Answers true when the upload was copying until now: the pause
    // starts, dated now. A pause that is already in force takes the reason on as well and
    // answers false. An ended upload cannot be paused.
    bool pause(PauseReason reason);
    // Ends the pause for `reason`. Answers true when that was the last reason: the upload
    // copies again, and its start time moves forward by the length of the pause, so that the
    // time estimate does not count the paused time. Answers false when the upload was not
    // paused for `reason` or another reason remains.
    bool resume(PauseReason reason);
    // Ends the upload for good; a pause in force ends with it. Answers true the first time.
    bool cancel();
    // The last file has been handled. A cancelled upload stays cancelled.
    void complete();
    // Whether the upload ended with failed files.
    void setFailed(bool failed);
    // Notes that the device-full dialog has been shown for this upload; answers whether this is
    // the first time.
    bool noteDeviceFullShown();

    // ---- The state ----

    UploadState state() const;
    bool paused() const;
    bool pausedFor(PauseReason reason) const;
    bool cancelled() const;
    bool completed() const;
    bool failed() const;
    // Completed or cancelled: nothing more will be copied.
    bool ended() const;
    // Completed, cancelled or paused: the copy loop's test before each source.
    bool stopped() const;
    bool deviceFullShown() const;
    // When the upload started, moved forward by every pause that has ended.
    Date startedAt() const;
    void setStartedAt(Date start);
    // When the pause in force began (or the last pause, once it has ended).
    Date pausedAt() const;

    // ---- Waiting ----

    // Blocks while the upload is paused and has not ended. Answers true when it had to wait.
    bool waitWhilePaused();
    // Waits `seconds` product seconds or until the upload ends, whichever is first; answers
    // whether the upload has ended.
    bool waitUnlessEnded(double seconds);
    // The same, and also until someone asks for a look now (askForLook): the watcher of a full
    // device between two looks at the free space.
    bool waitForNextLook(double seconds);
    // The watcher of a full device registers while it runs, so that a look asked for reaches it;
    // false when a watcher runs already (one is enough).
    bool startLooking();
    void stopLooking();
    // Cuts short the watcher's wait (or its next one, when it is looking now); answers false
    // when no watcher runs to take the request.
    bool askForLook();
    // How many threads wait on the upload now (for tests that watch the waiters).
    int waiters() const;
    // How many of them a pause holds (waitWhilePaused): the copy, not a watcher between two
    // looks at a missing device.
    int pauseWaiters() const;

    // ---- Counters and the file in hand (any thread) ----

    // Files handled, starting at 1 (the counter's first value), and files in all.
    std::atomic<std::int64_t> progressValue{1};
    std::atomic<std::int64_t> numberOfFilesCountForTransfer{0};
    // The files this upload copied whole. The counter above cannot tell it once files went
    // missing: it counts what was handled, and its last step is the end of the upload, not a
    // file.
    std::atomic<std::int64_t> filesArrived{0};
    // Every file the copy has met, whatever became of it (copied, failed, found gone, or
    // handled before a restart). Compared with a source's count, it tells files that went
    // away before their folder was listed.
    std::atomic<std::int64_t> filesMet{0};
    // Places inside a source whose files the copy could not meet and that it has named as
    // failed items already: an item found gone, a folder that could not be listed. The count
    // of files met says nothing more of such a source.
    std::atomic<std::int64_t> namedLosses{0};
    // Bytes now at the destination for the files handled.
    std::atomic<std::uint64_t> totalTransferredFilesSize{0};
    // Bytes the copy has written of the file in hand so far, told between two pieces of it:
    // the progress moves within a large file. 0 once the file is handled.
    std::atomic<std::uint64_t> bytesOfFileInHand{0};
    // The destination of the file being copied now; empty between files.
    Guarded<std::string> inProcessDestFilePath;
    // The final name the file in hand is being renamed to, while that rename has no answer
    // yet or failed on a lost device: the server may have done it all the same.
    Guarded<std::string> renamingTo;
    // Set when a stop could not remove the hidden copy in hand because its copy still had it
    // open (a share refuses that): the copy thread then neither names it nor keeps it, and
    // removes it once its copy has ended.
    std::atomic<bool> stopLeftPartialCopy{false};
    // True while an upload taken up after a restart runs its copy loop.
    std::atomic<bool> resumedAfterRestart{false};
    // True while the device stays full after its one dialog of the window: the copy tries the
    // file again each second without a dialog, and the status says what it waits for. The file
    // handled (or a lost device) ends it.
    std::atomic<bool> stillFull{false};
    // True while the copies are all made and the end flush of the destination's disk runs:
    // there is nothing left to estimate, only the disk to wait for.
    std::atomic<bool> flushingAtEnd{false};
    // The tag of this upload's hidden copies (see partialCopyTag in the record): chosen when
    // the upload starts, kept when it is taken up again.
    std::atomic<std::uint32_t> partialCopyTag{0};
    // A hidden copy this upload could not remove was noted (a share that still holds it open
    // through a connection that stalled): it is tried again after each file and at the end.
    std::atomic<bool> copiesLeftNoted{false};
    // The names in use in the destination folders where a name clashed; begin() forgets them.
    TakenNames takenNames;
    // The files given their final names on a local disk since it was last flushed; begin()
    // forgets them.
    UnflushedArrivals arrivalsSinceFlush;
    // How many times the destination's device went missing during this upload (each pause for
    // it that began), and how many of those the copy has looked behind.
    std::atomic<std::uint64_t> deviceLosses{0};
    std::atomic<std::uint64_t> deviceLossesLookedAt{0};
    // A flush of the destination's disk by `flush` (which answers an errno value), and what it
    // vouches for: the files renamed before it began leave arrivalsSinceFlush. Not tried (rc 0,
    // nothing vouched) while the disk went missing since the copy last looked behind a loss: a
    // flush of the disk back says nothing of what it lost, and one during a loss vouches for
    // nothing either.
    struct ArrivalsFlush {
        int rc = 0;
        bool vouched = false;
    };
    ArrivalsFlush flushArrivals(const std::function<int()>& flush);
    // How many times the upload went on after a pause, and how many of those the copy has
    // looked at the destination after.
    std::atomic<std::uint64_t> resumes{0};
    std::atomic<std::uint64_t> resumesLookedAt{0};

  private:
    bool endedLocked() const;
    void changed();

    std::shared_ptr<platform::Clock> clock_;
    mutable std::mutex mutex_;
    std::condition_variable condition_;
    UploadState state_ = UploadState::Idle;
    unsigned reasons_ = 0;
    bool failed_ = false;
    bool deviceFullShown_ = false;
    Date startedAt_{};
    Date pausedAt_{};
    int waiters_ = 0;
    int pauseWaiters_ = 0;
    bool lookAsked_ = false;
    bool looking_ = false;
};

}  // namespace qvt::engine
