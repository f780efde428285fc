#include "widgets/QVTransferToolbarBackground.h"

#include <QPainter>

#include "widgets/framework_images.h"

namespace qvt {

QVTransferToolbarBackground::QVTransferToolbarBackground(QWidget* parent) : QWidget(parent) {
    image_ = QPixmap(widgets::frameworkImagePath(QStringLiteral("windowToolbarBackground.png")));
    setAttribute(Qt::WA_OpaquePaintEvent, !image_.isNull());
}

QPainterPath QVTransferToolbarBackground::createBezierPathForRect(const QRectF& rect) {
    // Corner arcs of radius 0 are plain corners; the path still starts mid-bottom and runs
    // round the rectangle the same way a rounded outline would.
    QPainterPath path;
    path.moveTo(rect.center().x(), rect.bottom());
    path.lineTo(rect.left(), rect.bottom());
    path.lineTo(rect.left(), rect.top());
    path.lineTo(rect.right(), rect.top());
    path.lineTo(rect.right(), rect.bottom());
    path.closeSubpath();
    return path;
}

void QVTransferToolbarBackground::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRectF bounds = rect();
    painter.setClipPath(createBezierPathForRect(bounds));
    if (image_.isNull()) return;
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(rect(), image_);
}

}  // namespace qvt
