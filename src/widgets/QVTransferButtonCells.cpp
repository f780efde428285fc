#include "widgets/QVTransferButtonCells.h"

#include "widgets/focus_ring.h"

#include <QPainter>
#include <QPainterPath>
#include <QStyleOptionButton>

namespace qvt {

namespace {

constexpr qreal kCornerRadius = 2.0;
constexpr int kTitlePadding = 16;
constexpr int kButtonHeight = 32;

QColor greyFraction(double fraction) {
    return QColor::fromRgbF(fraction, fraction, fraction);
}

void drawTitle(QPainter& painter, const QRect& bounds, const QString& title, const QFont& font,
               const QColor& colour) {
    painter.setFont(font);
    painter.setPen(colour);
    const QRect textArea = bounds.adjusted(6, 0, -6, 0);
    const QString shown = QFontMetrics(font).elidedText(title, Qt::ElideRight, textArea.width());
    painter.drawText(textArea, Qt::AlignCenter | Qt::TextSingleLine, shown);
}

}  // namespace

QVTransferGradientButton::QVTransferGradientButton(QWidget* parent) : QPushButton(parent) {
    setAutoDefault(false);
    // Clicking does not move the keyboard focus, as with the platform's own buttons.
    setFocusPolicy(Qt::TabFocus);
}

BezelState QVTransferGradientButton::bezelState() const {
    if (isDown()) return BezelState::Pressed;
    if (!isEnabled()) return BezelState::Disabled;
    return BezelState::Normal;
}

QSize QVTransferGradientButton::sizeHint() const {
    const QFontMetrics metrics(titleFont());
    return {metrics.horizontalAdvance(text()) + 2 * kTitlePadding, kButtonHeight};
}

QFont QVTransferGradientButton::titleFont() const {
    QFont f(QStringLiteral("Helvetica"));
    f.setPointSize(14);
    return f;
}

QColor QVTransferGradientButton::titleColor() const {
    return palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled,
                           QPalette::ButtonText);
}

void QVTransferGradientButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = rect();
    QPainterPath bezel;
    bezel.addRoundedRect(frame, kCornerRadius, kCornerRadius);
    painter.setClipPath(bezel);

    const BezelGradient colours = gradientFor(bezelState());
    QLinearGradient gradient(frame.topLeft(), frame.bottomLeft());
    gradient.setColorAt(0, colours.top);
    gradient.setColorAt(1, colours.bottom);
    painter.fillPath(bezel, gradient);

    drawTitle(painter, rect(), text(), titleFont(), titleColor());
    // The focus comes only from the keyboard or the program (a click does not move it), so the
    // ring shows whenever the button has it.
    painter.setClipping(false);
    if (hasFocus()) widgets::drawFocusRing(painter, frame, kCornerRadius);
}

QVTransferBlueButtonCell::QVTransferBlueButtonCell(QWidget* parent)
    : QVTransferGradientButton(parent) {}

BezelGradient QVTransferBlueButtonCell::gradientFor(BezelState state) const {
    const QColor deep = QColor::fromRgbF(0.0, 0.5, 0.78);
    const QColor bright = QColor::fromRgbF(0.0, 0.6, 1.0);
    switch (state) {
        case BezelState::Pressed:
            return {bright, deep};
        case BezelState::Disabled:
            return {greyFraction(0.86), greyFraction(0.92)};
        case BezelState::Normal:
            break;
    }
    return {deep, bright};
}

QColor QVTransferBlueButtonCell::titleColor() const {
    return isEnabled() ? QColor(255, 255, 255) : QColor(154, 162, 169);
}

QVTransferDarkGrayButtonCell::QVTransferDarkGrayButtonCell(QWidget* parent)
    : QVTransferGradientButton(parent) {}

BezelGradient QVTransferDarkGrayButtonCell::gradientFor(BezelState state) const {
    if (state == BezelState::Pressed) return {greyFraction(0.92), greyFraction(0.86)};
    return {greyFraction(0.86), greyFraction(0.92)};
}

QColor QVTransferDarkGrayButtonCell::titleColor() const {
    return isEnabled() ? QColor(75, 90, 104) : QColor(154, 162, 169);
}

QVTransferButtonCell::QVTransferButtonCell(QWidget* parent) : QPushButton(parent) {
    QFont f(QStringLiteral("Arial"));
    f.setPointSize(13);
    setFont(f);
    setAutoDefault(false);
}

QColor QVTransferButtonCell::titleColor() const {
    return isDown() ? QColor(255, 255, 255) : greyFraction(0.36);
}

QSize QVTransferButtonCell::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text()) + 2 * kTitlePadding, kButtonHeight};
}

void QVTransferButtonCell::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    // A light frame normally; the title turns white while pressed, so the pressed bezel is the
    // title's normal grey.
    if (isDown()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(greyFraction(0.36));
    } else {
        painter.setPen(greyFraction(0.78));
        painter.setBrush(QColor(255, 255, 255));
    }
    painter.drawRoundedRect(frame, kCornerRadius, kCornerRadius);
    QColor colour = titleColor();
    if (!isEnabled()) colour.setAlphaF(0.45);
    drawTitle(painter, rect(), text(), font(), colour);
    if (hasFocus()) widgets::drawFocusRing(painter, frame, kCornerRadius);
}

}  // namespace qvt
