// Counting the files, folders and bytes of one source item on disk.
//
// The walk streams: it holds one open directory stream per level of the folder it is in, never a
// list of the tree, so memory stays flat however many items a folder holds. Hidden items are
// included; a symbolic link is counted as what it leads to, as the copy copies it (a link to a
// folder is gone into); a link to nothing or back into a folder above it is one file of no
// size, the item the copy reports as failed; a folder that cannot be opened is counted as a
// folder and its contents are skipped without a word.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qvt::source {

struct TreeCount {
    std::int64_t files = 0;
    std::int64_t folders = 0;
    std::uint64_t bytes = 0;
    bool operator==(const TreeCount&) const = default;
};

// A folder that walks never go into, known by its name in its parent and by its identity: only
// an entry of that name costs a look at what it is.
struct SkippedFolder {
    std::string name;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
};

struct WalkOptions {
    // Folder levels that keep their directory stream open. Deeper than that, the oldest open
    // levels are read to their end and closed (their sub-folders are remembered by name), so a
    // walk never runs out of file descriptors however deep the tree goes.
    std::size_t openLevels = 64;
    // Folders neither counted nor gone into, wherever the walk meets them (through a link, or
    // as its root, too).
    std::vector<SkippedFolder> skipped;
};

// What a path is, following symbolic links: nothing, a file or a folder.
enum class ItemKind { Missing, File, Folder };
ItemKind itemKind(const std::string& path);

// The size attribute of the item at `path` itself (a symbolic link is not followed); nothing
// when the item's attributes cannot be read.
bool itemSize(const std::string& path, std::uint64_t& size);

// Counts `path`: a missing path is 0/0/0; a file (or a link to one) is one file of its size; a
// folder (or a link to one) counts itself and everything below it; a link to nothing, or to a
// folder above it, is one file of no size.
TreeCount countItem(const std::string& path, const WalkOptions& options = {});

}  // namespace qvt::source
