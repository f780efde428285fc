#include "widgets/QVTransferPausedAndStopButton.h"

#include <QPainter>

#include "widgets/focus_ring.h"
#include "widgets/framework_images.h"

namespace qvt {

QVTransferPausedAndStopButton::QVTransferPausedAndStopButton(QWidget* parent)
    : QPushButton(parent) {
    setFlat(true);
    setAutoDefault(false);
    // Pause, resume and stop are reached with Tab; a click does not move the focus.
    setFocusPolicy(Qt::TabFocus);
    setCursor(Qt::PointingHandCursor);
    setAttribute(Qt::WA_Hover);
    showImageFor(MouseEvent::Exit);
}

QString QVTransferPausedAndStopButton::imageNameFor(int tag, MouseEvent event) {
    const char* role = nullptr;
    switch (tag) {
        case kPauseTag:
            role = "pause";
            break;
        case kResumeTag:
            role = "resume";
            break;
        case kStopTag:
            role = "stop";
            break;
        case kCancelTag:
            // The cancel button has one image for every state. It ships as PNG: the platform
            // image writer used for the artwork has no TIFF support.
            return QStringLiteral("icn_cancel_up.png");
        default:
            return {};
    }
    const char* state = event == MouseEvent::Enter  ? "over"
                        : event == MouseEvent::Down ? "down"
                                                    : "up";
    return QStringLiteral("icn_%1_%2.png").arg(QLatin1String(role), QLatin1String(state));
}

void QVTransferPausedAndStopButton::setTag(int tag) {
    tag_ = tag;
    showImageFor(MouseEvent::Exit);
}

void QVTransferPausedAndStopButton::showImageFor(MouseEvent event) {
    const QString name = imageNameFor(tag_, event);
    if (name.isEmpty()) return;
    imageName_ = name;
    image_ = widgets::frameworkIcon(name);
    update();
}

QSize QVTransferPausedAndStopButton::sizeHint() const {
    if (image_.isNull()) return {28, 28};
    const QList<QSize> sizes = image_.availableSizes();
    return sizes.isEmpty() ? QSize(28, 28) : sizes.first();
}

void QVTransferPausedAndStopButton::enterEvent(QEnterEvent* event) {
    showImageFor(MouseEvent::Enter);
    QPushButton::enterEvent(event);
}

void QVTransferPausedAndStopButton::leaveEvent(QEvent* event) {
    showImageFor(MouseEvent::Exit);
    QPushButton::leaveEvent(event);
}

void QVTransferPausedAndStopButton::mousePressEvent(QMouseEvent* event) {
    showImageFor(MouseEvent::Down);
    // Then the ordinary press, which leads to the button's action.
    QPushButton::mousePressEvent(event);
}

void QVTransferPausedAndStopButton::paintEvent(QPaintEvent*) {
    if (image_.isNull()) return;
    QPainter painter(this);
    const QSize natural = sizeHint();
    const QSize size = natural.boundedTo(this->size());
    const QRect target(QPoint((width() - size.width()) / 2, (height() - size.height()) / 2), size);
    image_.paint(&painter, target, Qt::AlignCenter, isEnabled() ? QIcon::Normal : QIcon::Disabled);
    if (hasFocus()) widgets::drawFocusRing(painter, QRectF(rect()), width() / 2.0);
}

}  // namespace qvt
