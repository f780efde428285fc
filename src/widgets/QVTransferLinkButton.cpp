#include "widgets/QVTransferLinkButton.h"

#include <QPainter>
#include <algorithm>

#include "widgets/focus_ring.h"

namespace qvt {

namespace {
constexpr int kImageTitleGap = 5;
}

QVTransferLinkButton::QVTransferLinkButton(QWidget* parent) : QPushButton(parent) {
    setCursor(Qt::PointingHandCursor);
    setFlat(true);
    setAutoDefault(false);
    // A keyboard user reaches a link with Tab; a click does not move the focus.
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    titleFont_ = font();
}

void QVTransferLinkButton::setUpTitle(const QString& title, const QFont& titleFont,
                                      Qt::Alignment /*alignment: the stored one is used*/) {
    title_ = title;
    titleFont_ = titleFont;
    titleFont_.setUnderline(true);
    setText(title);
    setFont(titleFont_);
    setFlat(true);
    updateGeometry();
    updateTip();
    update();
}

void QVTransferLinkButton::setUpImages(const QIcon& defaultImage, const QIcon& hoveredImage) {
    defaultImage_ = defaultImage;
    hoveredImage_ = hoveredImage;
    setIcon(defaultImage);
    updateGeometry();
    updateTip();
    update();
}

void QVTransferLinkButton::enterEvent(QEnterEvent* event) {
    if (!hoveredImage_.isNull()) setIcon(hoveredImage_);
    titleColor_ = hoverColor();
    setUpTitle(title_, titleFont_, textAlignment_);
    QPushButton::enterEvent(event);
}

void QVTransferLinkButton::leaveEvent(QEvent* event) {
    if (!hoveredImage_.isNull()) setIcon(defaultImage_);
    titleColor_ = exitColor();
    setUpTitle(title_, titleFont_, textAlignment_);
    QPushButton::leaveEvent(event);
}

QRect QVTransferLinkButton::imageRect() const {
    if (icon().isNull()) return {};
    const QSize size = iconSize();
    return {0, (height() - size.height()) / 2, size.width(), size.height()};
}

QSize QVTransferLinkButton::sizeHint() const {
    const QFontMetrics metrics(titleFont_);
    int width = metrics.horizontalAdvance(title_) + 2;
    int height = metrics.height() + 4;
    if (!icon().isNull()) {
        width += iconSize().width() + kImageTitleGap;
        height = std::max(height, iconSize().height());
    }
    return {width, height};
}

QSize QVTransferLinkButton::minimumSizeHint() const {
    const QSize whole = sizeHint();
    int width = QFontMetrics(titleFont_).horizontalAdvance(QStringLiteral("\u2026")) + 2;
    if (!icon().isNull()) width += iconSize().width() + kImageTitleGap;
    return {std::min(width, whole.width()), whole.height()};
}

QRect QVTransferLinkButton::titleRect() const {
    QRect textArea = rect();
    const QRect image = imageRect();
    if (!image.isNull()) textArea.setLeft(image.right() + 1 + kImageTitleGap);
    return textArea;
}

QString QVTransferLinkButton::shownTitle() const {
    return QFontMetrics(titleFont_).elidedText(title_, Qt::ElideRight, titleRect().width());
}

void QVTransferLinkButton::updateTip() {
    setToolTip(shownTitle() == title_ ? QString() : title_);
}

void QVTransferLinkButton::resizeEvent(QResizeEvent* event) {
    QPushButton::resizeEvent(event);
    updateTip();
}

void QVTransferLinkButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRect image = imageRect();
    if (!image.isNull()) {
        const QIcon::Mode mode = isEnabled() ? QIcon::Normal : QIcon::Disabled;
        icon().paint(&painter, image, Qt::AlignCenter, mode);
    }
    QColor colour = titleColor_;
    if (!isEnabled()) colour.setAlphaF(0.4);
    painter.setPen(colour);
    painter.setFont(titleFont_);
    const Qt::Alignment horizontal = textAlignment_ & Qt::AlignHorizontal_Mask;
    painter.drawText(titleRect(), (horizontal ? horizontal : Qt::AlignLeft) | Qt::AlignVCenter,
                     shownTitle());
    if (hasFocus()) widgets::drawFocusRing(painter, QRectF(rect()), 2);
}

}  // namespace qvt
