// The folder tree of a directly attached device's volumes, loaded one level per expansion, and
// the state of the controls that follow the tree.
#include <algorithm>
#include <memory>

#include "destination/folder_listing.h"
#include "destination/folder_node.h"
#include "destination/tree_building.h"
#include "device/mount_destination.h"
#include "platform/dispatch.h"
#include "session/qvtransfer_private.h"
#include "session/view.h"

using qvt::List;
using qvt::Record;
using qvt::Value;
using qvt::platform::QueuePriority;
namespace dst = qvt::destination;

namespace {

// Runs `task` on the main thread: at once when already there, otherwise posted.
void onMain(QVTransferPrivate& owner, std::function<void()> task) {
    if (owner.dispatcher().onMainThread())
        task();
    else
        owner.dispatcher().mainAsync(std::move(task));
}

// Whether `ref` is the latest load of its folder's level. Loads are registered under the tree's
// lock, so a caller holding that lock gets an answer that holds until it has written.
bool isLatestLoad(const QVTransferPrivate& owner, const QVTransferPrivate::FolderNodeRef& ref) {
    return owner.destinationLevelLoads.with([&](const auto& loads) {
        for (const auto& [path, generation] : loads)
            if (path == ref.folderFullPath) return generation == ref.generation;
        return false;
    });
}

}  // namespace

namespace qvt::destination {

Record makeProbedNode(const std::string& name, const std::string& path, const std::string& image,
                      const std::string& selectedImage) {
    Record node = makeFolderNode(name, path, image, selectedImage);
    if (hasVisibleSubfolder(path)) node.set(kUploadFoldersArray, List{placeholderRecord()});
    return node;
}

void appendRoot(QVTransferPrivate& owner, const Record& node) {
    const Value root(node);
    owner.destinationFoldersList.with([&](List& roots) { roots.push_back(root); });
}

void finishRootBuild(QVTransferPrivate& owner) {
    auto self = owner.shared_from_this();
    owner.dispatcher().mainAsync([self] { self->rearrangeDestFilesList(); });
    owner.finishedPopulatingDestinationFolders = true;
    owner.setCreateNewFolderLinkEnabled(true);
    owner.setUploadFilesButtonEnable(true);
}

}  // namespace qvt::destination

void QVTransferPrivate::setUploadFilesButtonEnable(bool enable) {
    uploadFilesButtonEnable = enable;
    auto self = shared_from_this();
    // The screen shows the flags as they are when the main thread gets to it, so a quick
    // sequence of changes from several threads always ends with the last value.
    onMain(*this, [self] { self->rearrangeDestFilesList(); });
}

void QVTransferPrivate::setCreateNewFolderLinkEnabled(bool enabled) {
    createNewFolderLinkEnabled = enabled;
    auto self = shared_from_this();
    onMain(*this, [self] { self->rearrangeDestFilesList(); });
}

void QVTransferPrivate::rearrangeDestFilesList() {
    view()->showDestinations(destinationScreen());
}

void QVTransferPrivate::populateDASDestinationFoldersList() {
    setUploadFilesButtonEnable(false);
    const Record info = deviceInfo();
    const List volumes = info.list("volumeArray") ? *info.list("volumeArray") : List{};
    bool madeRoot = false;
    for (const Value& value : volumes) {
        const Record* volume = value.asRecord();
        if (!volume) continue;
        const Value* mounted = volume->find("mounted");
        const std::string path = mountObject->mountDASVolume(
            volume->string("volumeName"), volume->string("bsdName"),
            mounted ? mounted->toInt64(0) : 0, volume->string("volumePath"), mountDir);
        if (path.empty()) continue;
        // A volume being mounted appears a little later; wait until it is there.
        isVolumeMounted(path);
        dst::appendRoot(
            *this, dst::makeProbedNode(dst::displayNameAtPath(path), path, dst::fileIconFor(path)));
        madeRoot = true;
    }
    if (!madeRoot) return;
    dst::finishRootBuild(*this);
}

void QVTransferPrivate::outlineViewItemDidExpand(const Record& userInfo) {
    const Value* item = userInfo.find("NSObject");
    const List* indices = item ? item->asList() : nullptr;
    if (!indices) return;
    FolderNodeRef ref;
    for (const Value& index : *indices) {
        const std::int64_t i = index.toInt64(-1);
        if (i < 0) return;
        ref.indexPath.push_back(static_cast<std::size_t>(i));
    }

    // Find the node and register this load of its level in one step under the tree's lock.
    const bool found = destinationFoldersList.with([&](List& roots) {
        const Record* node = dst::nodeAt(roots, ref.indexPath);
        if (!node) return false;
        ref.folderFullPath = node->string(dst::kFolderFullPath);
        ref.generation = ++destinationLevelLoadCounter;
        destinationLevelLoads.with([&](auto& loads) {
            auto it = std::find_if(loads.begin(), loads.end(),
                                   [&](const auto& l) { return l.first == ref.folderFullPath; });
            if (it != loads.end())
                it->second = ref.generation;
            else
                loads.emplace_back(ref.folderFullPath, ref.generation);
        });
        return true;
    });
    if (!found) return;

    finishedPopulatingDestinationFolders = false;
    setCreateNewFolderLinkEnabled(false);

    auto self = shared_from_this();
    dispatcher().async(QueuePriority::High, [self, ref] {
        // Each expansion reloads the level: the placeholder and any children loaded before go.
        self->destinationFoldersList.with([&](List& roots) {
            if (!isLatestLoad(*self, ref)) return;
            if (Record* node = dst::resolve(roots, ref.indexPath, ref.folderFullPath))
                node->set(dst::kUploadFoldersArray, List{});
        });
        // The tree shows the emptied level too: a level that turns out empty loses its triangle.
        self->dispatcher().mainAsync([self] { self->rearrangeDestFilesList(); });
        std::vector<dst::FolderEntry> entries = dst::listVisibleEntries(ref.folderFullPath);
        dst::sortByFileURL(entries);
        for (const dst::FolderEntry& entry : entries) {
            // A newer load of the same level has started: it lists the folder itself.
            if (!isLatestLoad(*self, ref)) return;
            if (!entry.isDirectory) continue;
            self->buildDestinationFilesTree(dst::displayNameAtPath(entry.path), entry.path, ref);
        }
        // A load overtaken by a newer one of the same level leaves the flags to that one.
        if (!isLatestLoad(*self, ref)) return;
        // Shared by every expansion: the first to finish re-enables the link.
        self->finishedPopulatingDestinationFolders = true;
        self->setCreateNewFolderLinkEnabled(true);
    });
}

void QVTransferPrivate::buildDestinationFilesTree(const std::string& folderName,
                                                  const std::string& folderFullPath,
                                                  const FolderNodeRef& folderDictOutlineView) {
    // The probe reads the disk (or the share): done before the tree's lock is taken.
    const Value node(
        dst::makeProbedNode(folderName, folderFullPath, dst::fileIconFor(folderFullPath)));
    destinationFoldersList.with([&](List& roots) {
        if (!isLatestLoad(*this, folderDictOutlineView)) return;
        Record* parent = dst::resolve(roots, folderDictOutlineView.indexPath,
                                      folderDictOutlineView.folderFullPath);
        if (!parent) return;
        dst::mutableChildren(*parent).push_back(node);
    });
    auto self = shared_from_this();
    dispatcher().mainSync([self] { self->rearrangeDestFilesList(); });
}
