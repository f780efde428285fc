// One file copied to a hidden name until the copy holds one moment of its source, whole; and
// the reason listed for a copy that could not be made.
#pragma once

#include <string>

#include "session/wizard_types.h"

class QVTransferPrivate;

namespace qvt::engine {

class UploadJob;

// Answers of copyWhole that are not errno values, so that no device fault is taken for them.
// The source changed while it was read (written to, cut short or replaced), copy after copy.
constexpr int kSourceKeptChanging = -1;
// A copy of another size than its source, twice the same size: the source does not hold what
// its size says (a file of the system itself, such as those in /proc).
constexpr int kSourceNotItsSize = -2;

// Copies `source` to `partial`, a hidden name beside its final one. A copy of another size than
// its source is made again, and so is one of a source written to while it was read; answers 0,
// an errno value or one of the two above. A stop ends the copy between two pieces of the file,
// so that a large file is not written on (and its hidden copy kept) long after it; a pause lets
// the file finish.
int copyWhole(UploadJob& upload, const std::string& source, const std::string& partial);

// The reason a file whose copy answered `rc` is listed with: this program's own reasons in the
// user's language, the system's description otherwise.
TransferError failureOf(QVTransferPrivate& c, int rc);

}  // namespace qvt::engine
