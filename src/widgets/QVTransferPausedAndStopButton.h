// The round icon buttons of the status screen (pause, resume, stop) and the small cancel
// button of a new folder. The button's tag says which one it is, and the image changes as the
// mouse enters, presses and leaves it.
#pragma once

#include <QIcon>
#include <QPushButton>

namespace qvt {

class QVTransferPausedAndStopButton : public QPushButton {
    Q_OBJECT
    Q_PROPERTY(int tag READ tag WRITE setTag)
  public:
    // The roles the tag selects.
    static constexpr int kStopTag = 0;
    static constexpr int kPauseTag = 3;
    static constexpr int kResumeTag = 4;
    static constexpr int kCancelTag = 10;

    enum class MouseEvent { Enter, Down, Exit };

    explicit QVTransferPausedAndStopButton(QWidget* parent = nullptr);

    int tag() const { return tag_; }
    // Gives the button another role and shows that role's resting image. A tag without a role
    // keeps the current image.
    void setTag(int tag);

    // The image file for `tag` after `event`, or an empty name when the tag has no images.
    static QString imageNameFor(int tag, MouseEvent event);
    // The image file shown now (empty before any image was set).
    QString currentImageName() const { return imageName_; }

    QSize sizeHint() const override;

  protected:
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void showImageFor(MouseEvent event);

    int tag_ = 0;
    QString imageName_;
    QIcon image_;
};

}  // namespace qvt
