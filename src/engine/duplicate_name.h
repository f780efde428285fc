// The naming rule for a file whose name is already taken at the destination: "report" becomes
// "report copy", "report copy" becomes "report copy 2", "report copy 2" becomes
// "report copy 3". The word "copy" is the localised one.
#pragma once

#include <string>

namespace qvt::engine {

// The next name to try after `name` (a file name without folder and without extension).
// Trailing digits count as a number only when a blank stands before them and they start after
// the second character, so "a1" is never taken for a numbered name.
std::string duplicateNameCandidate(const std::string& name, const std::string& copyWord);

}  // namespace qvt::engine
