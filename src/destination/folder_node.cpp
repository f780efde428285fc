#include "destination/folder_node.h"

namespace qvt::destination {

std::string fileIconFor(const std::string& path) {
    return kFileIconPrefix + path;
}

std::optional<std::string> fileIconPath(const std::string& image) {
    const std::string prefix = kFileIconPrefix;
    if (image.rfind(prefix, 0) != 0) return std::nullopt;
    return image.substr(prefix.size());
}

Record makeFolderNode(const std::string& name, const std::string& fullPath,
                      const std::string& image, const std::string& selectedImage) {
    Record node;
    node.set(kFolderName, name);
    node.set(kFolderFullPath, fullPath);
    node.set(kFolderImage, image);
    if (!selectedImage.empty()) node.set(kFolderSelectedImage, selectedImage);
    node.set(kUploadFoldersArray, List{});
    return node;
}

Value placeholderRecord() {
    return Value(Record{});
}

bool isPlaceholder(const Value& child) {
    const Record* r = child.asRecord();
    return r && r->empty();
}

bool hasChildren(const Record& node) {
    const List* children = node.list(kUploadFoldersArray);
    return children && !children->empty();
}

Record* nodeAt(List& roots, const std::vector<std::size_t>& indexPath) {
    if (indexPath.empty()) return nullptr;
    List* level = &roots;
    Record* node = nullptr;
    for (std::size_t index : indexPath) {
        if (!level || index >= level->size()) return nullptr;
        node = (*level)[index].asRecord();
        if (!node) return nullptr;
        Value* children = node->find(kUploadFoldersArray);
        level = children ? children->asList() : nullptr;
    }
    return node;
}

const Record* nodeAt(const List& roots, const std::vector<std::size_t>& indexPath) {
    if (indexPath.empty()) return nullptr;
    const List* level = &roots;
    const Record* node = nullptr;
    for (std::size_t index : indexPath) {
        if (!level || index >= level->size()) return nullptr;
        node = (*level)[index].asRecord();
        if (!node) return nullptr;
        level = node->list(kUploadFoldersArray);
    }
    return node;
}

Record* resolve(List& roots, const std::vector<std::size_t>& indexPath,
                const std::string& folderFullPath) {
    Record* node = nodeAt(roots, indexPath);
    if (!node || node->string(kFolderFullPath) != folderFullPath) return nullptr;
    return node;
}

namespace {

bool findIn(const List& level, const std::string& folderFullPath, std::vector<std::size_t>& path) {
    for (std::size_t i = 0; i < level.size(); ++i) {
        const Record* node = level[i].asRecord();
        if (!node) continue;
        path.push_back(i);
        if (node->string(kFolderFullPath) == folderFullPath) return true;
        if (const List* children = node->list(kUploadFoldersArray);
            children && findIn(*children, folderFullPath, path))
            return true;
        path.pop_back();
    }
    return false;
}

}  // namespace

List& mutableChildren(Record& node) {
    Value* children = node.find(kUploadFoldersArray);
    if (!children || !children->asList()) {
        node.set(kUploadFoldersArray, List{});
        children = node.find(kUploadFoldersArray);
    }
    return *children->asList();
}

std::optional<std::vector<std::size_t>> findNode(const List& roots,
                                                 const std::string& folderFullPath) {
    std::vector<std::size_t> path;
    if (folderFullPath.empty() || !findIn(roots, folderFullPath, path)) return std::nullopt;
    return path;
}

CellStyle cellStyle(const Record& node, bool selectedBackground) {
    CellStyle style;
    style.image = node.string(kFolderImage);
    const bool hasSelectedImage = node.contains(kFolderSelectedImage);
    if (selectedBackground) {
        style.text = CellColour{250, 250, 250, 255};
        if (hasSelectedImage) style.image = node.string(kFolderSelectedImage);
    } else {
        style.text = CellColour{75, 90, 103, 255};
    }
    return style;
}

}  // namespace qvt::destination
