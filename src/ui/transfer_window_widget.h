// The top-level widget of the wizard window. It asks before it closes and reports that it is
// closing; the window object behind it decides.
#pragma once

#include <QWidget>
#include <functional>

namespace qvt {

class QVTransferWindowWidget : public QWidget {
    Q_OBJECT
  public:
    explicit QVTransferWindowWidget(QWidget* parent = nullptr);

    // Answers whether the window may close now; without an answer it closes.
    std::function<bool()> shouldClose;
    // Runs once the window has agreed to close, before it goes.
    std::function<void()> willClose;

  protected:
    void closeEvent(QCloseEvent* event) override;
};

}  // namespace qvt
