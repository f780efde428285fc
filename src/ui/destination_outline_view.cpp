#include <QItemSelectionModel>

#include "ui/destination_outline_view.h"

#include <QHeaderView>
#include <QPainter>
#include <QPalette>

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

void DestinationOutlineView::onExpanded(const QModelIndex& index) {
    List indexPath;
    for (std::size_t i : model_->indexPath(index))
        indexPath.emplace_back(static_cast<long long>(i));
    controller_.outlineViewItemDidExpand(Record{{"NSObject", Value(std::move(indexPath))}});
}

}  // namespace qvt::ui
