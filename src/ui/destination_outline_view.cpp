#include <QItemSelectionModel>

#include "ui/destination_outline_view.h"

#include <QHeaderView>
#include <QLineEdit>
#include <QPainter>
#include <QPalette>
#include <QPointer>
#include <QTimer>
#include <cmath>

#include "destination/folder_node.h"
#include "session/view_actions.h"

namespace dst = qvt::destination;

namespace qvt::ui {

namespace {

// The dark background of a selected row, kept when the window is not active so the near-white
// text stays readable.
const QColor kSelectedRowBackground(52, 108, 172);
constexpr int kRowHeight = 24;
constexpr int kIconSize = 18;
constexpr int kButtonColumnWidth = 28;

}  // namespace

QSize DestinationCellDelegate::sizeHint(const QStyleOptionViewItem& option,
                                        const QModelIndex& index) const {
    QSize size = QStyledItemDelegate::sizeHint(option, index);
    size.setHeight(std::max(size.height(), kRowHeight));
    return size;
}

void DestinationCellDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
    QStyledItemDelegate::setEditorData(editor, index);
    if (auto* line = qobject_cast<QLineEdit*>(editor)) line->selectAll();
}

void DestinationCellDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                    const QModelIndex& index) const {
    // The button column holds nothing of its own: a selected row's band runs through it
    // without the gap an empty styled cell would leave.
    if (index.column() == DestinationTreeModel::kButtonColumn) {
        if (option.state.testFlag(QStyle::State_Selected))
            painter->fillRect(option.rect, option.palette.brush(QPalette::Highlight));
        return;
    }
    QStyledItemDelegate::paint(painter, option, index);
}

void DestinationCellDelegate::initStyleOption(QStyleOptionViewItem* option,
                                              const QModelIndex& index) const {
    QStyledItemDelegate::initStyleOption(option, index);
    if (index.column() != DestinationTreeModel::kNameColumn) return;
    const auto* model = qobject_cast<const DestinationTreeModel*>(index.model());
    if (!model) return;

    Record node;
    node.set(dst::kFolderImage,
             index.data(DestinationTreeModel::FolderImageRole).toString().toStdString());
    const QString selectedImage =
        index.data(DestinationTreeModel::FolderSelectedImageRole).toString();
    if (!selectedImage.isEmpty()) node.set(dst::kFolderSelectedImage, selectedImage.toStdString());

    const bool selected = option->state.testFlag(QStyle::State_Selected);
    const dst::CellStyle style = dst::cellStyle(node, selected);
    const QColor text(style.text.red, style.text.green, style.text.blue, style.text.alpha);
    for (auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        option->palette.setColor(group, QPalette::Text, text);
        option->palette.setColor(group, QPalette::HighlightedText, text);
    }
    option->icon = model->iconForImage(style.image);
}

DestinationOutlineView::DestinationOutlineView(QVTransferActions& controller, QWidget* parent)
    : QTreeView(parent), controller_(&controller), model_(new DestinationTreeModel(this)) {
    setObjectName(QStringLiteral("destinationFolderOutlineView"));
    setModel(model_);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &DestinationOutlineView::selectedFolderChanged);
    setItemDelegate(new DestinationCellDelegate(this));
    setHeaderHidden(true);
    setUniformRowHeights(true);
    setAnimated(false);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setIconSize(QSize(kIconSize, kIconSize));
    header()->setStretchLastSection(false);
    header()->setSectionResizeMode(DestinationTreeModel::kNameColumn, QHeaderView::Stretch);
    header()->setSectionResizeMode(DestinationTreeModel::kButtonColumn, QHeaderView::Fixed);
    header()->resizeSection(DestinationTreeModel::kButtonColumn, kButtonColumnWidth);

    QPalette pal = palette();
    for (auto group : {QPalette::Active, QPalette::Inactive})
        pal.setColor(group, QPalette::Highlight, kSelectedRowBackground);
    setPalette(pal);

    connect(this, &QTreeView::expanded, this, &DestinationOutlineView::onExpanded);
}

void DestinationOutlineView::showTree(const List& roots) {
    model_->reload(roots);
}

QString DestinationOutlineView::selectedFolderPath() const {
    const QModelIndexList rows =
        selectionModel() ? selectionModel()->selectedRows() : QModelIndexList{};
    if (rows.isEmpty()) return {};
    return rows.front().data(DestinationTreeModel::FolderFullPathRole).toString();
}

void DestinationOutlineView::expandFolder(const QString& folderFullPath) {
    const QModelIndex index = model_->indexForPath(folderFullPath);
    if (index.isValid()) expand(index);
}

QModelIndex DestinationOutlineView::indexAtRow(int row) const {
    if (row < 0) return {};
    QModelIndex index = model_->index(0, DestinationTreeModel::kNameColumn);
    for (int i = 0; i < row && index.isValid(); ++i) index = indexBelow(index);
    return index;
}

int DestinationOutlineView::rowOfPath(const QString& folderFullPath) const {
    int row = 0;
    for (QModelIndex index = model_->index(0, DestinationTreeModel::kNameColumn); index.isValid();
         index = indexBelow(index), ++row)
        if (index.data(DestinationTreeModel::FolderFullPathRole).toString() == folderFullPath)
            return row;
    return -1;
}

void DestinationOutlineView::editRow(int row, QWidget* cancelButton) {
    const QPersistentModelIndex index(indexAtRow(row));
    if (!index.isValid()) return;
    selectionModel()->setCurrentIndex(
        index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    // Selecting the row may have ended an edit before and reloaded the rows.
    if (!index.isValid()) return;
    scrollTo(index);
    editedPath_ = index.data(DestinationTreeModel::FolderFullPathRole).toString();
    model_->setEditablePath(editedPath_);
    editingNewFolder_ = true;
    edit(index);
    if (!cancelButton || !index.isValid()) return;
    // The cancel button sits in the middle of the row's button cell.
    const QRect cell = visualRect(index.sibling(index.row(), DestinationTreeModel::kButtonColumn));
    const QSize size = cancelButton->size();
    cancelButton->move(
        cell.x() + static_cast<int>(std::floor((cell.width() - size.width()) * 0.5)),
        cell.y() + static_cast<int>(std::floor((cell.height() - size.height()) * 0.5)));
    // A press on the button leaves the focus in the editor (the button passes it on to the
    // editor), so the press is not first taken as the end of the edit.
    if (QLineEdit* editor = openEditor()) {
        cancelButton->setFocusProxy(editor);
        QPointer<QWidget> button = cancelButton;
        connect(editor, &QObject::destroyed, this, [button] {
            if (button) button->setFocusProxy(nullptr);
        });
    }
    cancelButton->show();
    cancelButton->raise();
    scrollTo(index.sibling(index.row(), DestinationTreeModel::kButtonColumn));
}

void DestinationOutlineView::endEditing(int row) {
    model_->setEditablePath({});
    // The row above and then the row itself: the selection is drawn afresh with the new name.
    if (const QModelIndex above = indexAtRow(row - 1); above.isValid())
        selectionModel()->setCurrentIndex(
            above, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    if (const QModelIndex index = indexAtRow(row); index.isValid())
        selectionModel()->setCurrentIndex(
            index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    QTimer::singleShot(0, this, [this] { setFocus(Qt::OtherFocusReason); });
}

void DestinationOutlineView::forgetEditing() {
    editingNewFolder_ = false;
    pendingEdit_.reset();
    model_->setEditablePath({});
}

QLineEdit* DestinationOutlineView::openEditor() const {
    for (QLineEdit* line : viewport()->findChildren<QLineEdit*>(Qt::FindDirectChildrenOnly))
        if (line->isVisible()) return line;
    return nullptr;
}

void DestinationOutlineView::closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) {
    const auto* line = qobject_cast<QLineEdit*>(editor);
    const QString typed = line ? line->text() : QString();
    // The edit may end because another row became the current one: the name as it was is
    // the edited row's, not the current row's.
    const QString before = model_->indexForPath(editedPath_).data(Qt::EditRole).toString();
    // Tab in the editor ends the edit here: moving on to another row first would leave the
    // controller looking at that row's folder instead of the new one.
    if (hint == QAbstractItemDelegate::EditNextItem ||
        hint == QAbstractItemDelegate::EditPreviousItem)
        hint = QAbstractItemDelegate::SubmitModelCache;
    QTreeView::closeEditor(editor, hint);
    if (!editingNewFolder_) return;
    editingNewFolder_ = false;
    model_->setEditablePath({});
    const bool kept = !line || hint == QAbstractItemDelegate::RevertModelCache;
    pendingEdit_ = PendingEdit{editedPath_, kept ? before : typed};
    // Handed on once the view is out of whatever ended the edit: a change of the current row
    // or a reload of the rows may be under way, and the controller reloads them again.
    QTimer::singleShot(0, this, [this] { deliverEditEnd(); });
}

void DestinationOutlineView::deliverEditEnd() {
    if (!pendingEdit_) return;
    const PendingEdit edit = *pendingEdit_;
    pendingEdit_.reset();
    // The row went away meanwhile: there is nothing left to name.
    const QModelIndex index = model_->indexForPath(edit.path);
    if (!index.isValid()) return;
    // The controller names the folder of the selected row: the edited one, wherever the
    // selection went meanwhile.
    selectionModel()->setCurrentIndex(
        index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    if (controller_) controller_->textDidEndEditing(edit.name.toStdString());
}

void DestinationOutlineView::finishEditingNow() {
    if (editingNewFolder_) {
        if (QLineEdit* editor = openEditor()) {
            commitData(editor);
            closeEditor(editor, QAbstractItemDelegate::SubmitModelCache);
        } else {
            editingNewFolder_ = false;
        }
    }
    deliverEditEnd();
}

void DestinationOutlineView::detachFromController() {
    controller_ = nullptr;
    forgetEditing();
}

void DestinationOutlineView::dropEditing() {
    pendingEdit_.reset();
    if (editingNewFolder_) {
        editingNewFolder_ = false;
        if (QLineEdit* editor = openEditor())
            QTreeView::closeEditor(editor, QAbstractItemDelegate::RevertModelCache);
    }
    model_->setEditablePath({});
}

void DestinationOutlineView::onExpanded(const QModelIndex& index) {
    List indexPath;
    for (std::size_t i : model_->indexPath(index))
        indexPath.emplace_back(static_cast<long long>(i));
    if (controller_)
        controller_->outlineViewItemDidExpand(Record{{"NSObject", Value(std::move(indexPath))}});
}

}  // namespace qvt::ui
