// The destination screen's outline view: the controller's folder tree, loaded a level at a
// time as the user expands nodes.
#pragma once

#include <QStyledItemDelegate>
#include <QTreeView>

#include "ui/destination_tree_model.h"

namespace qvt {
class QVTransferActions;
}

namespace qvt::ui {

// Draws a row as the tree's cells are drawn: slate text on a light row; near-white text and
// the node's selected image (a share's white cloud) on the dark selected row.
class DestinationCellDelegate : public QStyledItemDelegate {
    Q_OBJECT
  public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;

  protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;
};

class DestinationOutlineView : public QTreeView {
    Q_OBJECT
  public:
    explicit DestinationOutlineView(QVTransferActions& controller, QWidget* parent = nullptr);

    // Shows the tree whose top nodes are `roots` (FolderNode records), keeping what is
    // expanded expanded.
    void showTree(const List& roots);
    DestinationTreeModel* treeModel() const { return model_; }
    // The selected node's folder path, or "" when nothing is selected.
    QString selectedFolderPath() const;

  signals:
    // The selection changed (by the mouse, the keyboard or a reload).
    void selectedFolderChanged();

  private:
    void onExpanded(const QModelIndex& index);

    QVTransferActions& controller_;
    DestinationTreeModel* model_;
};

}  // namespace qvt::ui
