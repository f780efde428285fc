#include "engine/status_lines.h"

#include "platform/format.h"

namespace qvt::engine {

std::string filesProgressLine(const QVTransferPrivate& c) {
    return platform::format(
        c.localeUPLOADING_MULTIPLE_FILES_txt,
        platform::format("%ld", static_cast<long long>(c.job().progressValue.load())),
        platform::format("%ld",
                         static_cast<long long>(c.job().numberOfFilesCountForTransfer.load())));
}

std::string pausedStatusText(const QVTransferPrivate& c) {
    return platform::format("%@\n%@", filesProgressLine(c), c.localeUPLOAD_PAUSED_txt);
}

}  // namespace qvt::engine
