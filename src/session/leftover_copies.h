// Hidden copies that a stop could not remove because their device was away at that moment.
// The stop empties the upload's record, so nothing else would ever find them again: they are
// noted in a small file beside the state file and removed when an upload next reaches their
// share or volume.
#pragma once

#include <string>
#include <vector>

namespace qvt::session {

inline constexpr const char* kLeftoverCopiesFileName = "LeftoverCopies.plist";

struct LeftoverCopy {
    // The serial number of a network device, or the filesystem UUID of an attached volume.
    std::string device;
    // The share's name on a network device; "" on an attached volume.
    std::string share;
    // Where the copy lies, relative to the root of the share or the volume.
    std::string path;
    // With sources here, `path` is instead the folder an upload that was replaced before it
    // could be taken up was copying these sources to ("" for the root): the hidden copies it
    // left there and in the copies of its source folders go.
    std::vector<std::string> pendingSources = {};
    // With sources: the tag of that upload's hidden copies (only those go).
    std::string tag = {};
    bool operator==(const LeftoverCopy&) const = default;
};

// The copies noted in `file`; entries of the wrong shape are left out.
std::vector<LeftoverCopy> readLeftoverCopies(const std::string& file);
// Replaces what `file` holds (an empty list removes the file).
bool writeLeftoverCopies(const std::string& file, const std::vector<LeftoverCopy>& copies);
// Adds one copy to what `file` holds.
bool noteLeftoverCopy(const std::string& file, const LeftoverCopy& copy);

}  // namespace qvt::session
