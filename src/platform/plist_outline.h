// What each upload record of a state file says about its upload, read in one streaming pass.
//
// The state file keeps a finished upload's list of every file it copied: a hundred thousand
// paths in several megabytes. A start of the program only asks whether a record leaves work,
// and reading the whole file into memory for that cost tens of megabytes and a noticeable wait
// after every large upload. This reader keeps nothing of the lists.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace qvt::platform {

struct RecordOutline {
    std::string key;
    // The record has no entries at all.
    bool empty = true;
    bool completed = false;
    // The list of sources still to copy is there and holds at least one entry.
    bool pendingWork = false;
    std::string deviceType;
};

// The records of an XML property list whose root is a record of records, in the file's order.
// Nothing when the file is not of exactly that shape, is not XML (a binary list), is damaged,
// names a record twice, or gives one of the entries above in a form other than the one this
// program writes: the caller then reads the file whole and judges it the usual way.
std::optional<std::vector<RecordOutline>> readRecordOutlines(const std::string& path);

}  // namespace qvt::platform
