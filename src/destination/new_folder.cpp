// A new folder at the destination, made from the destination screen: it is made on disk at once
// inside the selected folder under the default name, named by editing its row in place, or
// taken back with the cancel button beside it.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string>
#include <thread>

#include "destination/folder_node.h"
#include "engine/path_names.h"
#include "platform/dispatch.h"
#include "platform/files.h"
#include "platform/format.h"
#include "platform/log.h"
#include "session/qvtransfer_private.h"
#include "session/view.h"

using qvt::List;
using qvt::Record;
using qvt::Value;
using qvt::engine::appendingPathComponent;
using qvt::engine::deletingLastPathComponent;
using qvt::engine::lastPathComponent;
namespace dst = qvt::destination;

namespace {

// The longest name, in bytes, that the volumes and shares a device offers take for one folder.
constexpr std::size_t kLongestFolderName = 255;
// How many taken names the default name steps over before the link gives up.
constexpr int kNameAttempts = 100;
// How long making a folder waits for the reload of its parent's level.
constexpr auto kLevelLoadWait = std::chrono::seconds(60);

// Whether `name` can be the name of one folder inside another: one path component, never the
// folder itself or its parent, so whatever the user typed, the rename stays inside the folder
// the new folder was made in.
bool isFolderName(const std::string& name) {
    return !name.empty() && name.size() <= kLongestFolderName && name != "." && name != ".." &&
           name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
}

}  // namespace

bool QVTransferPrivate::madeAsNewFolder(const std::string& path) const {
    return newFoldersMade.with([&](const std::vector<std::string>& made) {
        return std::find(made.begin(), made.end(), path) != made.end();
    });
}

void QVTransferPrivate::createNewFolderAtDestination() {
    auto self = shared_from_this();
    dispatcher().detach([self] { self->createNewFolder(); });
}

void QVTransferPrivate::createNewFolder() {
    // The parent is the folder of the selected row; without one there is nowhere to make it.
    std::string parent;
    dispatcher().mainSync([&] { parent = view()->selectedDestinationFolder(); });
    const bool inTree = destinationFoldersList.with(
        [&](const List& roots) { return dst::findNode(roots, parent).has_value(); });
    if (parent.empty() || !inTree) return;

    auto& files = qvt::platform::files();
    std::string name = localeNEW_FOLDER_txt;
    if (!isFolderName(name)) return;
    std::string path = appendingPathComponent(parent, name);
    if (files.exists(path)) {
        name = getDuplicateFileName(path);
        path = appendingPathComponent(parent, name);
    }
    // Made without its parents, so that a name taken meanwhile is an error and never an
    // existing folder passed off as new (the cancel button would remove it). A name taken
    // since the folder was listed is stepped over by the same numbering.
    int rc = files.createFolder(path, false);
    for (int attempt = 0; rc == EEXIST && attempt < kNameAttempts; ++attempt) {
        job().takenNames.add(parent, name);
        name = getDuplicateFileName(path);
        path = appendingPathComponent(parent, name);
        rc = files.createFolder(path, false);
    }
    if (rc != 0) {
        // No permission, the device full or gone: nothing else happens.
        log().write(qvt::platform::format("QVTransfer: createNewFolder: %s",
                                          qvt::platform::errorDescription(rc).c_str()));
        return;
    }
    newFoldersMade.with([&](std::vector<std::string>& made) { made.push_back(path); });

    // The new node goes first among the parent's children.
    const Value node(dst::makeFolderNode(name, path, dst::fileIconFor(path)));
    const bool inserted = destinationFoldersList.with([&](List& roots) {
        const auto at = dst::findNode(roots, parent);
        Record* parentNode = at ? dst::nodeAt(roots, *at) : nullptr;
        if (!parentNode) return false;
        List& list = dst::mutableChildren(*parentNode);
        list.insert(list.begin(), node);
        createFolderParentChildArray.set(list);
        return true;
    });
    if (!inserted) return;

    // Showing the parent expanded may load its level again, which puts the new folder in its
    // sorted place; editing starts once that load has ended. The flag is looked at again and
    // again without a pause, so the editor opens the moment the level is there.
    dispatcher().mainSync([&] {
        rearrangeDestFilesList();
        view()->expandDestinationFolder(parent);
    });
    // The flag is shared by every level's load: the new folder found back in the tree tells
    // that the parent's own load, which empties the level first, has ended too.
    const auto loaded = [&] {
        return finishedPopulatingDestinationFolders &&
               destinationFoldersList.with(
                   [&](const List& roots) { return dst::findNode(roots, path).has_value(); });
    };
    const auto deadline = std::chrono::steady_clock::now() + kLevelLoadWait;
    while (!loaded()) {
        if (std::chrono::steady_clock::now() > deadline) return;
        std::this_thread::yield();
    }

    dispatcher().mainSync([&] {
        // The row counts the parent's own children only: it is the new folder's row while no
        // sibling above it shows children of its own, as after the reload of the level.
        const int parentRow = view()->destinationRowOf(parent);
        if (parentRow < 0) return;
        int row = parentRow + 1;
        destinationFoldersList.with([&](const List& roots) {
            const auto at = dst::findNode(roots, parent);
            const Record* parentNode = at ? dst::nodeAt(roots, *at) : nullptr;
            const List* children =
                parentNode ? parentNode->list(dst::kUploadFoldersArray) : nullptr;
            if (!children) return;
            for (std::size_t i = 0; i < children->size(); ++i) {
                const Record* child = (*children)[i].asRecord();
                if (child && child->string(dst::kFolderFullPath) == path)
                    row = parentRow + static_cast<int>(i) + 1;
            }
        });
        view()->editDestinationRow(row);
    });
}

void QVTransferPrivate::textDidEndEditing(const std::string& folderName) {
    const std::string oldPath = view()->selectedDestinationFolder();
    std::string path = oldPath;
    // Only the folder made here is renamed: the editor is opened on no other row, and a name
    // that cannot be a folder's, or that another item has, leaves it as it is on disk.
    if (!oldPath.empty() && madeAsNewFolder(oldPath) && isFolderName(folderName) &&
        folderName != lastPathComponent(oldPath)) {
        const std::string newPath =
            appendingPathComponent(deletingLastPathComponent(oldPath), folderName);
        const int rc = qvt::platform::files().renameItem(oldPath, newPath);
        if (rc == 0) {
            path = newPath;
            newFoldersMade.with([&](std::vector<std::string>& made) {
                std::replace(made.begin(), made.end(), oldPath, newPath);
            });
        } else {
            log().write(qvt::platform::format("QVTransfer: textDidEndEditing: %s",
                                              qvt::platform::errorDescription(rc).c_str()));
        }
    }
    // The row shows the name the folder has on disk: the new one, or the old one back.
    destinationFoldersList.with([&](List& roots) {
        const auto at = dst::findNode(roots, oldPath);
        Record* node = at ? dst::nodeAt(roots, *at) : nullptr;
        if (!node) return;
        node->set(dst::kFolderFullPath, path);
        node->set(dst::kFolderName, lastPathComponent(path));
        node->set(dst::kFolderImage, dst::fileIconFor(path));
    });
    rearrangeDestFilesList();
    view()->endDestinationEditing(view()->destinationRowOf(path));
}

void QVTransferPrivate::deleteNewFolder() {
    const std::string path = view()->selectedDestinationFolder();
    // The button is shown beside the folder made here only; any other row is left alone.
    if (path.empty() || !madeAsNewFolder(path)) return;
    auto& files = qvt::platform::files();
    // It goes from the disk only while it is empty: whatever was put into it meanwhile was not
    // made here and is kept, folder and all. The row goes all the same.
    files.removeEmptyFolder(path);
    newFoldersMade.with([&](std::vector<std::string>& made) {
        made.erase(std::remove(made.begin(), made.end(), path), made.end());
    });
    destinationFoldersList.with([&](List& roots) {
        const auto at = dst::findNode(roots, path);
        if (!at || at->size() < 2) return;
        std::vector<std::size_t> parentAt(at->begin(), at->end() - 1);
        Record* parent = dst::nodeAt(roots, parentAt);
        if (!parent) return;
        List& children = dst::mutableChildren(*parent);
        if (at->back() >= children.size()) return;
        children.erase(children.begin() + static_cast<std::ptrdiff_t>(at->back()));
        createFolderParentChildArray.set(children);
    });
    rearrangeDestFilesList();
    view()->hideNewFolderCancelButton();
}
