// Whether the folder of the state file can hold it: an upload whose state cannot be written
// can never be taken up with --resume, and the user hears that before it matters.
#pragma once

#include <optional>
#include <string>

namespace qvt::cli {

// The state file's folder for this user.
std::string stateFolder();

// The system's description of what keeps `folder` from taking the state file (not there and
// not creatable, not a folder, not writable); nothing when it can.
std::optional<std::string> stateFolderProblem(const std::string& folder);

}  // namespace qvt::cli
