// The destination screen's outline view: the controller's folder tree, loaded a level at a
// time as the user expands nodes.
#pragma once

#include <QStyledItemDelegate>
#include <QTreeView>
#include <optional>

#include "ui/destination_tree_model.h"

namespace qvt {
class QVTransferActions;
}

class QLineEdit;

namespace qvt::ui {

// Draws a row as the tree's cells are drawn: slate text on a light row; near-white text and
// the node's selected image (a share's white cloud) on the dark selected row.
class DestinationCellDelegate : public QStyledItemDelegate {
    Q_OBJECT
  public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    // The editor of a new folder's name opens with the whole name selected, ready to be typed
    // over.
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
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

    // ---- The new folder's row ----
    // Expands the row of `folderFullPath` (not its children).
    void expandFolder(const QString& folderFullPath);
    // The row of `folderFullPath` among the rows shown, from 0 at the top; -1 when not shown.
    int rowOfPath(const QString& folderFullPath) const;
    // Selects `row` alone, scrolls to it, opens the editor on its name with the text selected
    // and puts `cancelButton` in the middle of its button cell.
    void editRow(int row, QWidget* cancelButton);
    // The name is no longer editable; `row` is selected again and the tree takes the focus.
    void endEditing(int row);
    // The new folder's row went away while its name was edited: nothing is editable any more.
    void forgetEditing();
    // Ends an edit still open, or handed on but not yet delivered, and hands it to the
    // controller now: an action of the window that follows sees the folder under its new name.
    void finishEditingNow();
    // Closes an open edit without handing it on: the folder is being taken back.
    void dropEditing();
    // The controller is going away: nothing more is handed to it.
    void detachFromController();

  signals:
    // The selection changed (by the mouse, the keyboard or a reload).
    void selectedFolderChanged();

  protected:
    // The end of the name's edit, however it ends (Return, a click elsewhere, Escape), is
    // handed to the controller once, with the typed text or, after Escape, the name as it was.
    void closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) override;

  private:
    void onExpanded(const QModelIndex& index);
    // The index of the shown row `row` (column 0), or an invalid one.
    QModelIndex indexAtRow(int row) const;
    // The editor open on a row, if any.
    QLineEdit* openEditor() const;
    // Hands the end of the last edit to the controller, once.
    void deliverEditEnd();

    struct PendingEdit {
        QString path;
        QString name;
    };
    bool editingNewFolder_ = false;
    QString editedPath_;
    std::optional<PendingEdit> pendingEdit_;

    QVTransferActions* controller_;
    DestinationTreeModel* model_;
};

}  // namespace qvt::ui
