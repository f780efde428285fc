// Pieces shared by the share list and the volume tree.
#pragma once

#include <string>

#include "qvtransfer/Value.h"

class QVTransferPrivate;

namespace qvt::destination {

// A FolderNode for the folder at `path`, with one placeholder child when the folder holds a
// visible sub-folder (found through the percent-escaped probe address).
Record makeProbedNode(const std::string& name, const std::string& path, const std::string& image,
                      const std::string& selectedImage = {});

// Appends `node` to the controller's roots.
void appendRoot(QVTransferPrivate& owner, const Record& node);

// The end of a successful root build: the tree is shown (posted, not waited for), the level
// counts as loaded, and the new-folder link and the Upload button are enabled.
void finishRootBuild(QVTransferPrivate& owner);

}  // namespace qvt::destination
