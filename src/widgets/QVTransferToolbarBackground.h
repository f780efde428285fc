// The band behind the window's heading: the toolbar image stretched over the whole area,
// clipped to a square-cornered outline of the area.
#pragma once

#include <QPainterPath>
#include <QPixmap>
#include <QWidget>

namespace qvt {

class QVTransferToolbarBackground : public QWidget {
    Q_OBJECT
  public:
    explicit QVTransferToolbarBackground(QWidget* parent = nullptr);

    // A closed outline of `rect` that starts at the middle of its bottom edge and goes round
    // it with corners of radius 0.
    static QPainterPath createBezierPathForRect(const QRectF& rect);

    QPixmap image() const { return image_; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QPixmap image_;
};

}  // namespace qvt
