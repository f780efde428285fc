// The rows of the source list and the texts made of their counts.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "qvtransfer/Value.h"

namespace qvt::source {

// The files label of a row that is still being counted (exactly five blanks).
inline constexpr const char* kCountingPlaceholder = "     ";

// `folder` joined with `component` as one more path component.
std::string joinPath(const std::string& folder, const std::string& component);
// The name the file system shows for `path`: its last component ("/" for the root).
std::string displayName(const std::string& path);
// The desktop icon name of the item's type ("inode-directory", "text-plain", ...).
std::string iconNameForPath(const std::string& path);

// Whether the row's value under `key` is the text `text`, compared in place: the list is
// searched by path once per row added and once per count.
bool hasText(const Record& row, std::string_view key, std::string_view text);

// A new row for `path`, checked and waiting for its count. Rows of the default folders carry
// no "fileSize" until counted (`withFileSize` false); dropped and chosen ones carry 1.
Record makeSourceEntry(const std::string& path, bool withFileSize);
// {"fileDict": entry, "mathType": mathType}
Record makeTotalsRequest(const Record& entry, const std::string& mathType);

// A counted row keeps its counts as numbers beside their labels, under these keys. They live
// in the list only: the state file keeps a row's labels, as the rest of the product reads them.
inline constexpr const char* kFileCountKey = "fileCount";
inline constexpr const char* kFolderCountKey = "folderCount";

struct RowCounts {
    std::int64_t files = 0;
    std::int64_t folders = 0;
};
// The counts of a row: its numbers, or for a row that has only its labels (one read back from
// the state file) the integers the labels start with. A row still being counted has none.
RowCounts rowCounts(const Record& row);
// Whether the row is counted and holds no folder: a file, which needs no look at the disk to
// tell that it cannot hold anything.
bool countedWithoutFolders(const Record& row);

// The integer a label starts with, as a count label is read back ("3 files" is 3, the
// five-blank placeholder is 0); an integer value is itself.
std::int64_t leadingInteger(const Value* value);
// The word of a localised count text such as "%@ files": the second part when split at each
// single blank. A text without a blank is used whole.
std::string countWord(const std::string& localisedText);

// The words a summary line uses.
struct CountWords {
    std::string file, files, folder, folders;
};

// "<n> <word>" labels of a counted row.
std::string filesLabel(std::int64_t files, const CountWords& words);
std::string foldersLabel(std::int64_t folders, const CountWords& words);

// "%4.2f%@" of a byte count in decimal units capped at "TB" ("1.50MB", "1000.00bytes").
std::string sizeText(double bytes);
// The summary line for totals of at least one byte, or "" when both counts are below 1 (the
// line is then left as it was).
std::string summaryLine(std::int64_t files, std::int64_t folders, double bytes,
                        const CountWords& words);
// The summary line of a zero total: always bytes and the singular words.
std::string zeroSummaryLine(std::int64_t files, std::int64_t folders, double bytes,
                            const CountWords& words);

}  // namespace qvt::source
