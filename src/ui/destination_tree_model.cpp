#include "ui/destination_tree_model.h"

#include <QColor>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QPixmap>

#include "destination/folder_node.h"
#include "widgets/framework_images.h"

namespace dst = qvt::destination;

namespace qvt::ui {

struct DestinationTreeModel::Item {
    Item* parent = nullptr;
    int row = 0;                  // the row under the parent
    std::size_t sourceIndex = 0;  // the position in the controller's list (placeholders count)
    std::string path, name, image, selectedImage;
    bool hasChildRecords = false;  // any child in the controller's array, placeholder or not
    std::vector<std::unique_ptr<Item>> children;

    void renumber() {
        for (std::size_t i = 0; i < children.size(); ++i) children[i]->row = static_cast<int>(i);
    }
};

namespace {

// The real children of a node's array with their positions; placeholders and anything that is
// not a record are not rows.
std::vector<std::pair<std::size_t, const Record*>> realChildren(const List& source) {
    std::vector<std::pair<std::size_t, const Record*>> rows;
    for (std::size_t i = 0; i < source.size(); ++i) {
        const Record* r = source[i].asRecord();
        if (r && !r->empty()) rows.emplace_back(i, r);
    }
    return rows;
}

const List& childList(const Record& node) {
    static const List empty;
    const List* children = node.list(dst::kUploadFoldersArray);
    return children ? *children : empty;
}

}  // namespace

DestinationTreeModel::DestinationTreeModel(QObject* parent)
    : QAbstractItemModel(parent), root_(std::make_unique<Item>()) {}

DestinationTreeModel::~DestinationTreeModel() = default;

void DestinationTreeModel::reload(const List& roots) {
    root_->hasChildRecords = !roots.empty();
    relayoutNeeded_ = false;
    syncChildren(root_.get(), roots);
    if (relayoutNeeded_) {
        // A node without rows gained or lost its placeholder: no row changed, so only a new
        // layout makes the view draw or drop its disclosure triangle.
        emit layoutAboutToBeChanged();
        emit layoutChanged();
    }
}

std::unique_ptr<DestinationTreeModel::Item> DestinationTreeModel::buildItem(
    Item* parent, const Record& node, std::size_t sourceIndex) {
    auto item = std::make_unique<Item>();
    item->parent = parent;
    item->sourceIndex = sourceIndex;
    item->path = node.string(dst::kFolderFullPath);
    item->name = node.string(dst::kFolderName);
    item->image = node.string(dst::kFolderImage);
    item->selectedImage = node.string(dst::kFolderSelectedImage);
    const List& children = childList(node);
    item->hasChildRecords = !children.empty();
    for (const auto& [index, child] : realChildren(children))
        item->children.push_back(buildItem(item.get(), *child, index));
    item->renumber();
    return item;
}

void DestinationTreeModel::syncChildren(Item* parent, const List& source) {
    const auto wanted = realChildren(source);
    auto& have = parent->children;
    const QModelIndex parentIndex = indexOf(parent);

    // The rows that differ form one block between a common head and a common tail: a level
    // that grows at its end, a new folder inserted at the top or a folder that went away each
    // touch only that block, so the rows around it keep their expanded state.
    std::size_t head = 0;
    while (head < have.size() && head < wanted.size() &&
           have[head]->path == wanted[head].second->string(dst::kFolderFullPath))
        ++head;
    std::size_t tail = 0;
    while (tail < have.size() - head && tail < wanted.size() - head &&
           have[have.size() - 1 - tail]->path ==
               wanted[wanted.size() - 1 - tail].second->string(dst::kFolderFullPath))
        ++tail;

    const std::size_t oldEnd = have.size() - tail;
    if (head < oldEnd) {
        beginRemoveRows(parentIndex, static_cast<int>(head), static_cast<int>(oldEnd - 1));
        have.erase(have.begin() + static_cast<long>(head),
                   have.begin() + static_cast<long>(oldEnd));
        parent->renumber();
        endRemoveRows();
    }
    const std::size_t newEnd = wanted.size() - tail;
    if (head < newEnd) {
        beginInsertRows(parentIndex, static_cast<int>(head), static_cast<int>(newEnd - 1));
        std::vector<std::unique_ptr<Item>> added;
        for (std::size_t k = head; k < newEnd; ++k)
            added.push_back(buildItem(parent, *wanted[k].second, wanted[k].first));
        have.insert(have.begin() + static_cast<long>(head), std::make_move_iterator(added.begin()),
                    std::make_move_iterator(added.end()));
        parent->renumber();
        endInsertRows();
    }

    // Rows kept: take over their new positions and values, then their own children.
    for (std::size_t k = 0; k < wanted.size(); ++k) {
        if (k >= head && k < newEnd) continue;
        Item* item = have[k].get();
        const Record& node = *wanted[k].second;
        item->sourceIndex = wanted[k].first;
        const std::string name = node.string(dst::kFolderName);
        const std::string image = node.string(dst::kFolderImage);
        const std::string selectedImage = node.string(dst::kFolderSelectedImage);
        const List& children = childList(node);
        const bool hasChildRecords = !children.empty();
        const bool changed = name != item->name || image != item->image ||
                             selectedImage != item->selectedImage ||
                             hasChildRecords != item->hasChildRecords;
        if (hasChildRecords != item->hasChildRecords && item->children.empty())
            relayoutNeeded_ = true;
        item->name = name;
        item->image = image;
        item->selectedImage = selectedImage;
        item->hasChildRecords = hasChildRecords;
        if (changed) {
            const QModelIndex first = indexOf(item, kNameColumn);
            emit dataChanged(first, first.siblingAtColumn(kButtonColumn));
        }
        syncChildren(item, children);
    }
}

DestinationTreeModel::Item* DestinationTreeModel::itemFor(const QModelIndex& index) const {
    if (!index.isValid()) return root_.get();
    return static_cast<Item*>(index.internalPointer());
}

QModelIndex DestinationTreeModel::indexOf(const Item* item, int column) const {
    if (!item || item == root_.get()) return {};
    return createIndex(item->row, column, const_cast<Item*>(item));
}

std::vector<std::size_t> DestinationTreeModel::indexPath(const QModelIndex& index) const {
    std::vector<std::size_t> path;
    for (const Item* item = index.isValid() ? itemFor(index) : nullptr; item && item != root_.get();
         item = item->parent)
        path.insert(path.begin(), item->sourceIndex);
    return path;
}

QModelIndex DestinationTreeModel::indexForPath(const QString& folderFullPath) const {
    const std::string wanted = folderFullPath.toStdString();
    std::vector<const Item*> pending{root_.get()};
    while (!pending.empty()) {
        const Item* item = pending.back();
        pending.pop_back();
        if (item != root_.get() && item->path == wanted) return indexOf(item);
        for (const auto& child : item->children) pending.push_back(child.get());
    }
    return {};
}

QIcon DestinationTreeModel::iconForImage(const std::string& image) const {
    if (image.empty()) return {};
    if (auto it = iconCache_.find(image); it != iconCache_.end()) return it->second;
    QIcon icon;
    if (const auto path = dst::fileIconPath(image)) {
        // Every node is a folder; one on a share has no local item to ask, so it gets the
        // generic folder icon.
        QFileIconProvider provider;
        const QFileInfo info(QString::fromStdString(*path));
        icon = info.exists() ? provider.icon(info) : provider.icon(QFileIconProvider::Folder);
    } else {
        icon = qvt::widgets::frameworkIcon(QString::fromStdString(image) + ".png");
    }
    // A selected row shows the image exactly as drawn (a share's selected image is already
    // the white one), not a copy tinted with the selection colour.
    QIcon untinted;
    QList<QSize> sizes = icon.availableSizes();
    if (sizes.isEmpty()) sizes = {QSize(16, 16), QSize(32, 32)};
    for (const QSize& size : sizes) {
        const QPixmap pixmap = icon.pixmap(size);
        if (pixmap.isNull()) continue;
        untinted.addPixmap(pixmap, QIcon::Normal);
        untinted.addPixmap(pixmap, QIcon::Selected);
    }
    if (untinted.isNull()) untinted = icon;
    iconCache_.emplace(image, untinted);
    return untinted;
}

QModelIndex DestinationTreeModel::index(int row, int column, const QModelIndex& parent) const {
    const Item* p = itemFor(parent);
    if (!p || row < 0 || column < 0 || column >= columnCount() ||
        static_cast<std::size_t>(row) >= p->children.size())
        return {};
    return createIndex(row, column, p->children[static_cast<std::size_t>(row)].get());
}

QModelIndex DestinationTreeModel::parent(const QModelIndex& child) const {
    if (!child.isValid()) return {};
    return indexOf(itemFor(child)->parent);
}

int DestinationTreeModel::rowCount(const QModelIndex& parent) const {
    if (parent.isValid() && parent.column() != 0) return 0;
    return static_cast<int>(itemFor(parent)->children.size());
}

int DestinationTreeModel::columnCount(const QModelIndex&) const {
    return 2;
}

bool DestinationTreeModel::hasChildren(const QModelIndex& parent) const {
    if (parent.isValid() && parent.column() != 0) return false;
    const Item* item = itemFor(parent);
    return !item->children.empty() || item->hasChildRecords;
}

QVariant DestinationTreeModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const Item* item = itemFor(index);
    switch (role) {
        case FolderFullPathRole:
            return QString::fromStdString(item->path);
        case FolderImageRole:
            return QString::fromStdString(item->image);
        case FolderSelectedImageRole:
            return QString::fromStdString(item->selectedImage);
        default:
            break;
    }
    if (index.column() != kNameColumn) return {};
    switch (role) {
        case Qt::DisplayRole:
        case Qt::EditRole:
            return QString::fromStdString(item->name);
        case Qt::ToolTipRole:
            return QString::fromStdString(item->path);
        case Qt::DecorationRole:
            return iconForImage(item->image);
        case Qt::ForegroundRole:
            return QColor(75, 90, 103);
        default:
            return {};
    }
}

QVariant DestinationTreeModel::headerData(int section, Qt::Orientation orientation,
                                          int role) const {
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section == kNameColumn)
        return nameHeader_;
    return {};
}

void DestinationTreeModel::setNameHeader(const QString& text) {
    if (text == nameHeader_) return;
    nameHeader_ = text;
    emit headerDataChanged(Qt::Horizontal, kNameColumn, kNameColumn);
}

Qt::ItemFlags DestinationTreeModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::NoItemFlags;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (index.column() == kNameColumn && !editablePath_.empty() &&
        itemFor(index)->path == editablePath_)
        flags |= Qt::ItemIsEditable;
    return flags;
}

void DestinationTreeModel::setEditablePath(const QString& folderFullPath) {
    editablePath_ = folderFullPath.toStdString();
}

}  // namespace qvt::ui
