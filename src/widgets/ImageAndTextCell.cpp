#include "widgets/ImageAndTextCell.h"

#include <QApplication>
#include <QIcon>
#include <QPainter>
#include <QPixmap>
#include <algorithm>
#include <cmath>

namespace qvt {

namespace {

int roundedUpHalf(int difference) {
    return static_cast<int>(std::ceil(difference / 2.0));
}

QFont detailFont(const QFont& base) {
    QFont f = base;
    if (f.pointSizeF() > 0)
        f.setPointSizeF(std::max(1.0, f.pointSizeF() - 2.0));
    else if (f.pixelSize() > 0)
        f.setPixelSize(std::max(1, f.pixelSize() - 2));
    return f;
}

// The item's text with its line breaks back as '\n' (the delegate's display text turns them
// into line separators).
QString plainLines(QString text) {
    text.replace(QChar::LineSeparator, QLatin1Char('\n'));
    return text;
}

}  // namespace

QIcon ImageAndTextCell::imageFor(const QStyleOptionViewItem&, const QModelIndex& index) const {
    const QVariant value = index.data(Qt::DecorationRole);
    if (value.userType() == QMetaType::QIcon) return value.value<QIcon>();
    if (value.userType() == QMetaType::QPixmap) return QIcon(value.value<QPixmap>());
    return {};
}

QColor ImageAndTextCell::textColourFor(const QStyleOptionViewItem& option,
                                       const QModelIndex& index) const {
    const bool selected = option.state & QStyle::State_Selected;
    const QVariant foreground = index.data(Qt::ForegroundRole);
    QColor colour;
    if (foreground.userType() == QMetaType::QColor)
        colour = foreground.value<QColor>();
    else if (foreground.userType() == QMetaType::QBrush)
        colour = foreground.value<QBrush>().color();
    if (!colour.isValid() || selected)
        colour = option.palette.color(selected ? QPalette::HighlightedText : QPalette::Text);
    return colour;
}

ImageAndTextCell::ImageAndTextCell(QObject* parent) : QStyledItemDelegate(parent) {}

QRect ImageAndTextCell::imageRect(const QRect& cell) {
    return {cell.left() + kImageLeftInset, cell.top() + roundedUpHalf(cell.height() - kImageHeight),
            kImageWidth, kImageHeight};
}

QRect ImageAndTextCell::titleRect(const QRect& cell, int textHeight) {
    const int left = imageRect(cell).right() + 1 + kTextGap;
    const int top = cell.top() + std::max(0, roundedUpHalf(cell.height() - textHeight));
    return {left, top, std::max(0, cell.right() + 1 - left), std::min(textHeight, cell.height())};
}

int ImageAndTextCell::textHeight(const QStyleOptionViewItem& option, const QString& text) {
    const QStringList lines = text.split(QLatin1Char('\n'));
    int height = QFontMetrics(option.font).height();
    const QFontMetrics detail(detailFont(option.font));
    for (qsizetype i = 1; i < lines.size(); ++i) height += detail.height();
    return height;
}

void ImageAndTextCell::paint(QPainter* painter, const QStyleOptionViewItem& option,
                             const QModelIndex& index) const {
    QStyleOptionViewItem opt = option;
    initStyleOption(&opt, index);
    const QString text = plainLines(opt.text);
    const QIcon icon = imageFor(option, index);
    const QColor colour = textColourFor(option, index);

    // Background and selection as the style draws them, without the default text and icon.
    opt.text.clear();
    opt.icon = QIcon();
    opt.features &= ~QStyleOptionViewItem::HasDecoration;
    const QWidget* widget = option.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &opt, painter, widget);

    painter->save();
    if (!icon.isNull()) {
        // The slot is wider than tall; the image keeps its proportions inside it.
        const QRect slot = imageRect(option.rect);
        icon.paint(painter, slot, Qt::AlignCenter,
                   (option.state & QStyle::State_Enabled) ? QIcon::Normal : QIcon::Disabled);
    }

    painter->setPen(colour);

    const QRect area = titleRect(option.rect, textHeight(option, text));
    const QStringList lines = text.split(QLatin1Char('\n'));
    int y = area.top();
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QFont font = i == 0 ? opt.font : detailFont(opt.font);
        const QFontMetrics metrics(font);
        painter->setFont(font);
        const QRect line(area.left(), y, area.width(), metrics.height());
        painter->drawText(line, Qt::AlignLeft | Qt::AlignVCenter,
                          metrics.elidedText(lines[i], Qt::ElideMiddle, area.width()));
        y += metrics.height();
    }
    painter->restore();
}

QSize ImageAndTextCell::sizeHint(const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const {
    QStyleOptionViewItem opt = option;
    initStyleOption(&opt, index);
    const QString text = plainLines(opt.text);
    const int width = kImageLeftInset + kImageWidth + kTextGap +
                      QFontMetrics(opt.font).horizontalAdvance(text.section('\n', 0, 0)) + 4;
    if (rowHeight_ > 0) return {width, rowHeight_};
    return {width, std::max(kImageHeight + 4, textHeight(opt, text) + 4)};
}

void ImageAndTextCell::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                            const QModelIndex&) const {
    const int height = std::max(QFontMetrics(option.font).height() + 6, kImageHeight);
    QRect area = titleRect(option.rect, height);
    editor->setGeometry(area);
}

}  // namespace qvt
