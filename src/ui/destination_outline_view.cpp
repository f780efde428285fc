#include <QItemSelectionModel>

#include "ui/destination_outline_view.h"

#include <QHeaderView>
#include <QLineEdit>
#include <QPainter>
#include <QPalette>
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
    : QTreeView(parent), controller_(controller), model_(new DestinationTreeModel(this)) {
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
    const QModelIndex index = indexAtRow(row);
    if (!index.isValid()) return;
    selectionModel()->setCurrentIndex(
        index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    scrollTo(index);
    model_->setEditablePath(index.data(DestinationTreeModel::FolderFullPathRole).toString());
    editingNewFolder_ = true;
    edit(index);
    if (!cancelButton) return;
    // The cancel button sits in the middle of the row's button cell.
    const QRect cell = visualRect(index.siblingAtColumn(DestinationTreeModel::kButtonColumn));
    const QSize size = cancelButton->size();
    cancelButton->move(
        cell.x() + static_cast<int>(std::floor((cell.width() - size.width()) * 0.5)),
        cell.y() + static_cast<int>(std::floor((cell.height() - size.height()) * 0.5)));
    cancelButton->show();
    cancelButton->raise();
    scrollTo(index.siblingAtColumn(DestinationTreeModel::kButtonColumn));
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
    model_->setEditablePath({});
}

void DestinationOutlineView::closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) {
    const auto* line = qobject_cast<QLineEdit*>(editor);
    const QString typed = line ? line->text() : QString();
    const QString before = currentIndex().data(Qt::EditRole).toString();
    // Tab in the editor ends the edit here: moving on to another row first would leave the
    // controller looking at that row's folder instead of the new one.
    if (hint == QAbstractItemDelegate::EditNextItem ||
        hint == QAbstractItemDelegate::EditPreviousItem)
        hint = QAbstractItemDelegate::SubmitModelCache;
    QTreeView::closeEditor(editor, hint);
    if (!editingNewFolder_) return;
    editingNewFolder_ = false;
    const bool kept = !line || hint == QAbstractItemDelegate::RevertModelCache;
    controller_.textDidEndEditing((kept ? before : typed).toStdString());
}

void DestinationOutlineView::onExpanded(const QModelIndex& index) {
    List indexPath;
    for (std::size_t i : model_->indexPath(index))
        indexPath.emplace_back(static_cast<long long>(i));
    controller_.outlineViewItemDidExpand(Record{{"NSObject", Value(std::move(indexPath))}});
}

}  // namespace qvt::ui
