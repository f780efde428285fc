// The destination tree as a Qt item model over the controller's folder tree (its
// `destinationFoldersList`, as the destination screen's value carries it).
//
// The model keeps its own copy of the tree and, on reload(), brings it up to the tree it is
// given with row insertions and removals rather than a reset, so that expanded nodes stay
// expanded while a level loads. A node's placeholder child (an empty record) is not a row: it
// only makes hasChildren() true, which draws the disclosure triangle.
#pragma once

#include <QAbstractItemModel>
#include <QIcon>
#include <QString>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "qvtransfer/Value.h"

namespace qvt::ui {

class DestinationTreeModel : public QAbstractItemModel {
    Q_OBJECT
  public:
    // The node's folderFullPath, folderName, folderImage and folderSelectedImage ("" if none).
    enum Roles {
        FolderFullPathRole = Qt::UserRole + 1,
        FolderImageRole,
        FolderSelectedImageRole,
    };
    // Column 0 shows the folder ("folderName"); column 1 holds the new-folder cancel button.
    static constexpr int kNameColumn = 0;
    static constexpr int kButtonColumn = 1;

    explicit DestinationTreeModel(QObject* parent = nullptr);
    ~DestinationTreeModel() override;

    // Brings the model up to the tree whose top nodes are `roots` (FolderNode records).
    void reload(const List& roots);

    // The indices of `index` in the controller's lists, from the roots down.
    std::vector<std::size_t> indexPath(const QModelIndex& index) const;
    // The row of the node for `folderFullPath`, or an invalid index.
    QModelIndex indexForPath(const QString& folderFullPath) const;
    // The icon an image value of the tree stands for.
    QIcon iconForImage(const std::string& image) const;
    // The name column's header as people read it (a screen reader speaks it); the column's
    // identifier stays "folderName".
    void setNameHeader(const QString& text);
    // The name of the row of `folderFullPath` may be edited in place; "" for no row.
    void setEditablePath(const QString& folderFullPath);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    bool hasChildren(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

  private:
    struct Item;
    Item* itemFor(const QModelIndex& index) const;
    QModelIndex indexOf(const Item* item, int column = 0) const;
    void syncChildren(Item* parent, const List& source);
    std::unique_ptr<Item> buildItem(Item* parent, const Record& node, std::size_t sourceIndex);

    std::unique_ptr<Item> root_;
    mutable std::map<std::string, QIcon> iconCache_;
    bool relayoutNeeded_ = false;
    QString nameHeader_ = QStringLiteral("folderName");
    std::string editablePath_;
};

}  // namespace qvt::ui
