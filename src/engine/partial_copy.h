// The hidden names files are written under until they are whole. A file appears under its
// final name only once all of it is there: it is written to one of these names in its
// destination folder, then renamed.
#pragma once

#include <cstdint>
#include <string>

#include "qvtransfer/Value.h"

namespace qvt::engine {

// Each upload marks its hidden copies with a tag of its own, kept in its record, so that what
// it left can be told from another upload's copies (another computer writing to the same
// share, another user's upload to the same folder): only its own are ever swept away. 0 is no
// tag.
std::uint32_t newPartialCopyTag();
// The tag as it is written in the record (8 hex digits), and read back (0: not a tag).
std::string partialCopyTagText(std::uint32_t tag);
std::uint32_t partialCopyTagFrom(const std::string& text);

// A new hidden name for a file on its way to `destination`, in the same folder:
// ".qvtransfer-<the tag's 8 hex digits><8 random hex digits>.part". Short whatever the file's
// own name, so a long name never makes it too long.
std::string temporaryPathFor(const std::string& destination, std::uint32_t tag);

// Whether `name` (the last component of a path) is one of those names, of any upload.
bool isTemporaryName(const std::string& name);
// Whether it is one of the upload tagged `tag`.
bool isTemporaryNameOf(const std::string& name, std::uint32_t tag);

// Removes the hidden copies that the upload tagged `tag`, ended with its process, left where
// the sources of `pendingSources` (source entries) go: in `destination` itself and, for a
// source folder's copy, anywhere below it. Another upload's hidden copies stay, and so does
// everything when the tag is 0 (not known).
void removeLeftoverCopiesOf(const List& pendingSources, const std::string& destination,
                            std::uint32_t tag);

}  // namespace qvt::engine
