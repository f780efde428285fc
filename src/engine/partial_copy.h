// The hidden names files are written under until they are whole. A file appears under its
// final name only once all of it is there: it is written to one of these names in its
// destination folder, then renamed.
#pragma once

#include <string>

#include "qvtransfer/Value.h"

namespace qvt::engine {

// A new hidden name for a file on its way to `destination`, in the same folder:
// ".qvtransfer-<16 hex digits>.part". Short whatever the file's own name, so a long name never
// makes it too long.
std::string temporaryPathFor(const std::string& destination);

// Whether `name` (the last component of a path) is one of those names.
bool isTemporaryName(const std::string& name);

// Removes the hidden copies an upload that ended with its process left where the sources of
// `pendingSources` (source entries) go: in `destination` itself and, for a source folder's
// copy, anywhere below it. Only names this program gives its hidden copies are touched.
void removeLeftoverCopiesOf(const List& pendingSources, const std::string& destination);

}  // namespace qvt::engine
