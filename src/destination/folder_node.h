// FolderNode: one node of the destination tree, a record with the keys below. The roots are kept
// in the controller's `destinationFoldersList`; children in each node's "uploadFoldersArray".
//
// A node that has not been expanded holds either no child (no visible sub-folder) or exactly one
// empty record, a placeholder that makes the outline view draw a disclosure triangle; expanding
// the node replaces it with the real children.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qvtransfer/Value.h"

namespace qvt::destination {

inline constexpr const char* kFolderName = "folderName";
inline constexpr const char* kFolderFullPath = "folderFullPath";
inline constexpr const char* kFolderImage = "folderImage";
inline constexpr const char* kFolderSelectedImage = "folderSelectedImage";
inline constexpr const char* kUploadFoldersArray = "uploadFoldersArray";

// Images as the tree stores them: the name of one of the library's images ("cloud_up"), or
// the file system's icon of a path, written kFileIconPrefix + path. The view makes the pixels.
inline constexpr const char* kFileIconPrefix = "iconForFile:";
inline constexpr const char* kShareImage = "cloud_up";
inline constexpr const char* kShareSelectedImage = "cloud_down";
inline constexpr const char* kHomeShareImage = "cloudhome_up";
inline constexpr const char* kHomeShareSelectedImage = "cloudhome_down";

// The image value for the file system's icon of `path`.
std::string fileIconFor(const std::string& path);
// The path of a file-icon image value, or nothing when `image` names a library image.
std::optional<std::string> fileIconPath(const std::string& image);

// A node with an empty children array; `selectedImage` is left out when empty.
Record makeFolderNode(const std::string& name, const std::string& fullPath,
                      const std::string& image, const std::string& selectedImage = {});

// The children placeholder (an empty record).
Value placeholderRecord();
bool isPlaceholder(const Value& child);

// Whether the node shows a disclosure triangle: it holds any child, placeholder or real.
bool hasChildren(const Record& node);

// The node at `indexPath` (child indices from the roots down), or nullptr when the path leads
// nowhere or to something that is not a record.
Record* nodeAt(List& roots, const std::vector<std::size_t>& indexPath);
const Record* nodeAt(const List& roots, const std::vector<std::size_t>& indexPath);

// The node at `indexPath` when it still stands for `folderFullPath`, else nullptr (the tree
// has changed under the caller).
Record* resolve(List& roots, const std::vector<std::size_t>& indexPath,
                const std::string& folderFullPath);

// The children of `node`, made an empty list first when it has none (or something else).
List& mutableChildren(Record& node);

// The index path of the node for `folderFullPath`, searched through every loaded level; nothing
// when no node stands for it.
std::optional<std::vector<std::size_t>> findNode(const List& roots,
                                                 const std::string& folderFullPath);

// How a row of the tree is drawn: its text colour and its image.
struct CellColour {
    int red, green, blue, alpha;
    bool operator==(const CellColour&) const = default;
};
struct CellStyle {
    CellColour text;
    std::string image;
};
// A row on the dark (selected) background gets near-white text and the node's selected image
// when it has one; any other row gets the slate text colour and its plain image.
CellStyle cellStyle(const Record& node, bool selectedBackground);

}  // namespace qvt::destination
