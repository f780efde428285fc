#include "ui/source_spinner.h"

#include <QAbstractItemModel>
#include <QApplication>
#include <QPainter>
#include <QTableView>
#include <QTimer>

#include <algorithm>

namespace qvt {

SourceCountSpinnerDelegate::SourceCountSpinnerDelegate(QTableView* table)
    : QStyledItemDelegate(table), table_(table), timer_(new QTimer(this)) {
    timer_->setInterval(80);
    connect(timer_, &QTimer::timeout, this, &SourceCountSpinnerDelegate::tick);
    timer_->start();
}

bool SourceCountSpinnerDelegate::spinning() const {
    const QAbstractItemModel* model = table_->model();
    if (!model) return false;
    for (int row = 0; row < model->rowCount(); ++row)
        for (int column = 0; column < model->columnCount(); ++column)
            if (table_->itemDelegateForColumn(column) == this &&
                model->index(row, column).data(kSourceCountingRole).toBool())
                return true;
    return false;
}

void SourceCountSpinnerDelegate::tick() {
    if (!table_->isVisible() || !spinning()) return;
    step_ = (step_ + 1) % 12;
    table_->viewport()->update();
}

void SourceCountSpinnerDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                       const QModelIndex& index) const {
    if (!index.data(kSourceCountingRole).toBool()) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    // The cell's background without its text or icon, then twelve spokes fading behind the
    // leading one, centred in the cell.
    QStyleOptionViewItem background = option;
    initStyleOption(&background, index);
    background.text.clear();
    background.icon = QIcon();
    background.features &=
        ~(QStyleOptionViewItem::HasDisplay | QStyleOptionViewItem::HasDecoration);
    const QWidget* widget = option.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &background, painter, widget);
    const double side = std::min(16, option.rect.height() - 4);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->translate(QRectF(option.rect).center());
    for (int i = 0; i < 12; ++i) {
        QColor colour(75, 90, 104);
        colour.setAlphaF(0.15 + 0.85 * (((i - step_ + 12) % 12) / 11.0));
        painter->setPen(QPen(colour, 2.0, Qt::SolidLine, Qt::RoundCap));
        painter->drawLine(QPointF(0, -side * 0.5), QPointF(0, -side * 0.25));
        painter->rotate(30.0);
    }
    painter->restore();
}

SourceCountSpinnerDelegate* installSourceCountSpinner(QTableView* table, int column) {
    auto* spinner = new SourceCountSpinnerDelegate(table);
    table->setItemDelegateForColumn(column, spinner);
    return spinner;
}

}  // namespace qvt
