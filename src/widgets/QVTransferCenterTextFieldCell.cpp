#include "widgets/QVTransferCenterTextFieldCell.h"

#include <QPainter>
#include <QStyle>

namespace qvt {

QVTransferCenterTextFieldCell::QVTransferCenterTextFieldCell(QWidget* parent) : QLabel(parent) {}

QRect QVTransferCenterTextFieldCell::titleRectForBounds(const QRect& bounds, int textHeight) {
    QRect r = bounds;
    if (textHeight < bounds.height()) {
        r.setTop(bounds.top() + (bounds.height() - textHeight) / 2);
        r.setHeight(textHeight);
    }
    return r;
}

QString QVTransferCenterTextFieldCell::shownText() const {
    if (wordWrap() || textFormat() == Qt::RichText) return text();
    const QRect bounds = contentsRect().adjusted(margin(), margin(), -margin(), -margin());
    return fontMetrics().elidedText(text(), Qt::ElideRight, bounds.width());
}

void QVTransferCenterTextFieldCell::paintEvent(QPaintEvent* event) {
    if (textFormat() == Qt::RichText || !pixmap().isNull()) {
        QLabel::paintEvent(event);
        return;
    }
    QPainter painter(this);
    drawFrame(&painter);
    const QRect bounds = contentsRect().adjusted(margin(), margin(), -margin(), -margin());
    const int flags = (alignment() & Qt::AlignHorizontal_Mask) | Qt::AlignTop |
                      (wordWrap() ? Qt::TextWordWrap : 0);
    const QString shown = shownText();
    // The tip follows what is drawn now, whatever set the text or the size since.
    const QString tip = shown == text() ? QString() : text();
    if (toolTip() != tip) setToolTip(tip);
    const QRect needed = fontMetrics().boundingRect(bounds, flags, shown);
    const QRect area = titleRectForBounds(bounds, needed.height());
    painter.setPen(
        palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, foregroundRole()));
    painter.drawText(area, flags, shown);
}

}  // namespace qvt
