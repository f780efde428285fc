// A button drawn as an underlined link, optionally with an image left of its title. It shows
// the pointing hand over its whole area and changes colour (and image, when a hovered image
// was given) as the mouse enters and leaves it.
#pragma once

#include <QColor>
#include <QFont>
#include <QIcon>
#include <QPushButton>

namespace qvt {

class QVTransferLinkButton : public QPushButton {
    Q_OBJECT
    Q_PROPERTY(QColor titleColor READ titleColor WRITE setTitleColor)
    Q_PROPERTY(Qt::Alignment textAlignment READ textAlignment WRITE setTextAlignment)
  public:
    // The colours the title takes while the mouse is over the link and after it has left.
    static QColor hoverColor() { return {21, 171, 255}; }
    static QColor exitColor() { return {0, 103, 166}; }

    explicit QVTransferLinkButton(QWidget* parent = nullptr);

    // Black until a colour is given.
    QColor titleColor() const { return titleColor_; }
    // Takes effect the next time the title is built.
    void setTitleColor(const QColor& colour) { titleColor_ = colour; }

    Qt::Alignment textAlignment() const { return textAlignment_; }
    void setTextAlignment(Qt::Alignment alignment) { textAlignment_ = alignment; }

    // Builds the title: `title` in `titleFont`, underlined, in the stored title colour and
    // aligned by the stored alignment. `alignment` is not used: the stored alignment is the
    // one that counts. Also makes the button borderless.
    void setUpTitle(const QString& title, const QFont& titleFont, Qt::Alignment alignment);
    // Shows `defaultImage` and remembers both images for the hover changes.
    void setUpImages(const QIcon& defaultImage, const QIcon& hoveredImage);

    QString title() const { return title_; }
    QFont titleFont() const { return titleFont_; }
    QIcon defaultImage() const { return defaultImage_; }
    QIcon hoveredImage() const { return hoveredImage_; }
    // The image drawn now.
    QIcon currentImage() const { return icon(); }

    QSize sizeHint() const override;
    // A link whose size policy lets it shrink can be as small as its image and an ellipsis; a
    // title it cannot show whole is shortened with "…" and shown whole as its tool tip.
    QSize minimumSizeHint() const override;

  protected:
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    QRect imageRect() const;
    // Where the title is drawn.
    QRect titleRect() const;
    // The title as it fits, and the tool tip that shows it whole when it does not.
    QString shownTitle() const;
    void updateTip();

    QColor titleColor_{0, 0, 0};
    Qt::Alignment textAlignment_ = Qt::AlignLeft;
    QString title_;
    QFont titleFont_;
    QIcon defaultImage_;
    QIcon hoveredImage_;
};

}  // namespace qvt
