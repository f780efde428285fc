// The wizard's drawn push buttons: two with a gradient bezel (blue for the main action of a
// screen, light grey for the others) and one plain-titled button.
#pragma once

#include <QColor>
#include <QPushButton>

namespace qvt {

// The two colours of a bezel gradient, drawn from the top edge to the bottom edge.
struct BezelGradient {
    QColor top;
    QColor bottom;
};

// The drawing state of a button: pressed wins over disabled.
enum class BezelState { Normal, Pressed, Disabled };

// Shared drawing of the gradient buttons: a rounded rectangle (radius 2) filled with the
// gradient of the current state, and a centred title cut off at the tail when too long.
class QVTransferGradientButton : public QPushButton {
    Q_OBJECT
  public:
    explicit QVTransferGradientButton(QWidget* parent = nullptr);

    BezelState bezelState() const;
    virtual BezelGradient gradientFor(BezelState state) const = 0;
    QSize sizeHint() const override;

    // The title's font and colour for the current state: Helvetica 14 in the button text
    // colour unless a button says otherwise.
    virtual QFont titleFont() const;
    virtual QColor titleColor() const;

  protected:
    void paintEvent(QPaintEvent* event) override;
};

// The main action of a screen (Next, Upload, Yes...): a blue gradient with a white title in
// Helvetica 14; grey when disabled.
class QVTransferBlueButtonCell : public QVTransferGradientButton {
    Q_OBJECT
  public:
    explicit QVTransferBlueButtonCell(QWidget* parent = nullptr);
    BezelGradient gradientFor(BezelState state) const override;
    QColor titleColor() const override;
};

// The secondary actions (Back, Cancel...). Despite its name it draws a light grey gradient;
// the name is kept because the interface definition refers to it.
class QVTransferDarkGrayButtonCell : public QVTransferGradientButton {
    Q_OBJECT
  public:
    explicit QVTransferDarkGrayButtonCell(QWidget* parent = nullptr);
    BezelGradient gradientFor(BezelState state) const override;
    // The screens' slate text colour; the blue button's disabled grey when disabled.
    QColor titleColor() const override;
};

// A plain button whose title is Arial 13, dark grey normally and white while pressed.
class QVTransferButtonCell : public QPushButton {
    Q_OBJECT
  public:
    explicit QVTransferButtonCell(QWidget* parent = nullptr);

    QColor titleColor() const;
    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace qvt
