// The rows of the failed-files list.
#pragma once

#include "qvtransfer/Value.h"

namespace qvt::engine {

// One row per failure, in the order they happened: the file's name, and in the detailed form
// the reason on a second line; each with the warning image.
List failedListRows(const List& failures, bool detailed);

}  // namespace qvt::engine
