// What the two device recoveries (a lost device, a full device) share: pausing the upload for
// the device, the status texts they show, and the end of their pause.
#pragma once

#include <string>

#include "engine/upload_job.h"

class QVTransferPrivate;

namespace qvt::engine {

// Pauses the copy and the estimator for the device. The pause joins a pause of the user's
// that is in force; both wait until every reason has ended. Logs the operation's two lines.
void pauseForDevice(QVTransferPrivate& c, PauseReason reason, const char* operation);

// Sets the status text to `first` and `second` on two lines, and its two lines, and shows
// them (any thread; the screen is redrawn on the main thread).
void setStatusLines(QVTransferPrivate& c, const std::string& first, const std::string& second);

// The status text with the warning line (the failures so far) added, as the host hears it.
std::string statusWithWarning(const QVTransferPrivate& c);

// Sends the host the status, from the high-priority queue.
void tellHost(QVTransferPrivate& c, const std::string& status);

// Ends the device's pause: the time it lasted does not count as upload time, the copy and the
// estimator go on, the pause button and the colour are back to running, the status reads
// `first` and `second`, and the host hears it. A pause of the user's that is still in force
// keeps the upload paused, with the paused text. Logs "<operation>: transfer_semaphore" and
// "<operation>: timeRemaining_semaphore".
void endDevicePause(QVTransferPrivate& c, PauseReason reason, const char* operation,
                    const std::string& first, const std::string& second);

}  // namespace qvt::engine
