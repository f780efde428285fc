// Status-screen lines that the estimator and the pause share.
#pragma once

#include <string>

#include "session/qvtransfer_private.h"

namespace qvt::engine {

// The files line: UPLOADING_MULTIPLE_FILES_txt filled with "%ld" of the files handled and "%ld"
// of the files in all.
std::string filesProgressLine(const QVTransferPrivate& controller);

// The status text of a paused upload: the files line, a line break, UPLOAD_PAUSED_txt.
std::string pausedStatusText(const QVTransferPrivate& controller);

// The status text colours.
inline constexpr Colour kNormalStatusColour{75, 90, 104, 1.0};
inline constexpr Colour kPausedStatusColour{196, 196, 196, 1.0};

}  // namespace qvt::engine
