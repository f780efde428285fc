// What the controller hands its front ends to show: one value per screen or dialog, built from
// the controller's state at the moment it is sent. A front end keeps the latest it was given
// and never reads the controller's state itself.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/upload_job.h"
#include "qvtransfer/Value.h"
#include "session/wizard_types.h"

namespace qvt {

// The users screen: the accounts in the popup and the password field.
struct UsersScreen {
    std::vector<std::string> userNames;
    int selectedIndex = 0;
    bool passwordShown = false;
    std::string passwordPlaceholder;
    // True when the controller has forgotten the typed password (the field is cleared).
    bool passwordCleared = false;
    bool incorrectPassword = false;
    bool passwordFocusRing = true;
    // The device's picture as the host gave it (any image format), or empty.
    Data deviceImage;
    // The popup's contents are the device's answer (false until the users request answered).
    bool usersFetched = false;
};

// One row of the source list.
struct SourceRow {
    bool ticked = false;
    std::string fileName;
    std::string fileImage;
    std::string fullFilePath;
    // The folder and file counts as shown ("3 folders"), empty while the row is being counted.
    std::string folders;
    std::string files;
    bool counting = false;
    // The same counts as numbers, and the bytes of the row's files (0 while counting).
    std::int64_t fileCount = 0;
    std::int64_t folderCount = 0;
    std::uint64_t bytes = 0;
    // The tool tip of the name cell: the row's full path.
    std::string nameToolTip;
};

// The sources screen.
struct SourcesScreen {
    std::vector<SourceRow> rows;
    bool removeFilesAfterUpload = false;
    // The summary line under the list ("2 folders, 14 files: 3.20MB").
    std::string summary;
    // The text of a count cell while its row is counted.
    std::string countingText;
    // Whether every row has been counted (the upload then knows its file count).
    bool allCounted = true;
};

// The destination screen: the folder tree and what can be done with it.
struct DestinationScreen {
    // FolderNode records ("folderName", "folderFullPath", "folderImage", "folderSelectedImage",
    // "uploadFoldersArray" of children), the shares or volumes at the top.
    List roots;
    // The tree has been filled (the shares mounted and listed, or the volumes listed).
    bool finished = false;
    bool uploadEnabled = false;
    bool newFolderEnabled = false;
    // The number of files the upload will copy (the ticked rows' files).
    std::int64_t filesToUpload = 0;
};

// One failed item of an upload: where it came from, where it was going, and why it failed.
struct FailedItem {
    std::string sourceFilePath;
    std::string destFilePath;
    std::string localizedError;
};

// The status screen: progress, texts and the state of the upload.
struct StatusSnapshot {
    engine::UploadState state = engine::UploadState::Idle;
    bool paused = false;
    // The user's own pause (the pause key or button, or the stop question while it is open),
    // apart from the waits for the device and for space.
    bool pausedByUser = false;
    // A file is being copied: a pause lets it finish before the copy waits.
    bool fileInProgress = false;
    bool deviceMissing = false;
    bool deviceFull = false;
    // The device stayed full after its one dialog: the copy tries again each second.
    bool stillFull = false;
    // Every file is handled; the upload waits for the disk to hold them before it ends.
    bool flushingAtEnd = false;
    // The upload moves its sources (each file leaves its place once it has arrived whole).
    bool moving = false;
    bool failed = false;
    // Files handled (starting at 1, as the counter does) and files in all.
    std::int64_t filesDone = 1;
    std::int64_t filesTotal = 0;
    // Bytes at the destination for the files handled and what is written of the file in hand,
    // and bytes in all.
    std::uint64_t bytesDone = 0;
    std::uint64_t bytesTotal = 0;
    // Files now at the destination (failed and vanished items left out).
    std::uint64_t filesArrived = 0;
    // The two progress bars (the plain one and the zero-state one) as value and maximum. They
    // hold bytes once the estimator has sized them; before that their never-empty start values.
    double barValue = 5, barMaximum = 100;
    double zeroBarValue = 5, zeroBarMaximum = 100;
    // The two status lines and the line under them.
    std::string line1;
    std::string line2;
    std::string subStatus;
    Colour colour{75, 90, 104, 1.0};
    // The pause/resume button's role: 3 pauses, 4 resumes.
    int pauseButtonTag = 3;
    // The close button's title: Hide during the upload, Close once it has ended.
    std::string closeButtonTitle;
    // The warning line about failed files, and the link after it, once the upload has ended.
    std::string warning;
    std::string viewNowTitle;
    // The line and the link to the uploaded files, once the upload has ended.
    std::string uploadedFilesLabel;
    std::string uploadedFilesLinkTitle;
    bool uploadedFilesShown = false;
    // The sources in the upload's list (top-level files and folders).
    std::size_t sources = 0;
    // Where the files go, and the device's name.
    std::string destination;
    // Once the upload has ended: the destination's own address (a share's smb:// URL, which
    // outlives the mount folder, or the local folder's file:// URL).
    std::string destinationUrl;
    std::string productName;
    // The failed items so far.
    std::vector<FailedItem> failures;
    // An upload taken up after a restart: the items that had failed before it, which it does
    // not try again.
    std::vector<FailedItem> failedBeforeRestart;

    bool ended() const {
        return state == engine::UploadState::Completed || state == engine::UploadState::Cancelled;
    }
};

// The failed-files list of the error window.
struct FailedList {
    struct Row {
        std::string fileName;
        std::string fileImage;
    };
    std::vector<Row> rows;
    double rowHeight = 37;
    std::string heading;
};

// The questions the controller asks, each with the texts of its dialog.
struct StopQuestion {
    std::string prompt;
    std::string keepUploadingTitle;
    std::string stopUploadTitle;
};
enum class StopAnswer { KeepUploading, StopUpload, Dismissed };

struct ProtectedFilesQuestion {
    std::string text;
};
enum class ProtectedFilesAnswer { StayOnSources, Continue, Dismissed };

// The device cannot be reached from the login screens: Retry repeats the step that failed.
enum class LostConnectionAnswer { Retry, Cancel, Dismissed };

// Why an interrupted upload could not be taken up, in one sentence, and the title of the one
// button that closes the message.
struct ResumeProblem {
    std::string sentence;
    std::string closeTitle;
};

// Why what the user asked for was not done, in one sentence, and the title of the one button
// that closes the message; the screen stays as it was.
struct Notice {
    std::string sentence;
    std::string closeTitle;
};

}  // namespace qvt
