#include "ui/transfer_window_widget.h"

#include <QCloseEvent>

namespace qvt {

QVTransferWindowWidget::QVTransferWindowWidget(QWidget* parent) : QWidget(parent) {}

void QVTransferWindowWidget::closeEvent(QCloseEvent* event) {
    if (shouldClose && !shouldClose()) {
        event->ignore();
        return;
    }
    event->accept();
    if (willClose) willClose();
}

}  // namespace qvt
