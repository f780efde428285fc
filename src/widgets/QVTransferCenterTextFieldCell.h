// A text label whose single-line text sits in the vertical middle of its area: when the text
// is less tall than the area, it is moved down by half the difference.
#pragma once

#include <QLabel>

namespace qvt {

class QVTransferCenterTextFieldCell : public QLabel {
    Q_OBJECT
  public:
    explicit QVTransferCenterTextFieldCell(QWidget* parent = nullptr);

    // The rectangle text `textHeight` high is drawn in, inside `bounds`.
    static QRect titleRectForBounds(const QRect& bounds, int textHeight);

    // The text as drawn: a single line too long for the field (a heading with a long device
    // name) ends in "…", and the whole text is then the field's tool tip.
    QString shownText() const;

  protected:
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace qvt
