#include "ui/source_drop_view.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QMimeData>
#include <QPainter>
#include <QStyleOption>
#include <QUrl>

#include "session/view_actions.h"
#include "ui/widget_classes.h"

namespace qvt {

namespace {

// The interface definition names the drop area by its class; the window's loader makes it here.
const bool registered = [] {
    ui::registerWidgetClass(QStringLiteral("QVTransferDragDropSourceView"), [](QWidget* parent) {
        return new QVTransferDragDropSourceView(parent);
    });
    return true;
}();

// The controller answers only the last message of a drop.
class ControllerDropDelegate : public QVTransferConcludeDragDelegate {
  public:
    explicit ControllerDropDelegate(QVTransferActions& owner) : owner_(owner) {}
    void concludeDragOperation(const QVTransferDraggingInfo& info) override {
        owner_.concludeDragOperation(info.filenames);
    }

  private:
    QVTransferActions& owner_;
};

}  // namespace

bool installSourceDropTarget(QWidget* root, QVTransferActions& owner) {
    (void)registered;
    auto* area =
        root ? root->findChild<QVTransferDragDropSourceView*>(QStringLiteral("dragDropSourceView"))
             : nullptr;
    if (!area) return false;
    area->setDelegate(std::make_shared<ControllerDropDelegate>(owner));
    return true;
}

QVTransferDragDropSourceView::QVTransferDragDropSourceView(QWidget* parent) : QWidget(parent) {
    setAcceptDrops(true);
}

void QVTransferDragDropSourceView::setDelegate(
    std::shared_ptr<QVTransferDragDropSourceViewDelegate> delegate) {
    dragDropDelegate_ = std::move(delegate);
    respondsToConclude_ =
        dynamic_cast<QVTransferConcludeDragDelegate*>(dragDropDelegate_.get()) != nullptr;
}

std::vector<std::string> QVTransferDragDropSourceView::localFilenames(const QMimeData* mimeData) {
    std::vector<std::string> names;
    if (!mimeData || !mimeData->hasUrls()) return names;
    for (const QUrl& url : mimeData->urls()) {
        if (!url.isLocalFile()) continue;
        const QByteArray path = QFile::encodeName(url.toLocalFile());
        if (!path.isEmpty()) names.push_back(path.toStdString());
    }
    return names;
}

int QVTransferDragDropSourceView::draggingEntered(const QVTransferDraggingInfo& info) {
    if (auto* d = dynamic_cast<QVTransferDraggingEnteredDelegate*>(dragDropDelegate_.get()))
        return d->draggingEntered(info);
    return kDragOperationCopy;
}

void QVTransferDragDropSourceView::draggingExited(const QVTransferDraggingInfo& info) {
    if (auto* d = dynamic_cast<QVTransferDraggingExitedDelegate*>(dragDropDelegate_.get()))
        d->draggingExited(info);
}

bool QVTransferDragDropSourceView::prepareForDragOperation(const QVTransferDraggingInfo& info) {
    if (auto* d = dynamic_cast<QVTransferPrepareDragDelegate*>(dragDropDelegate_.get()))
        return d->prepareForDragOperation(info);
    return true;
}

bool QVTransferDragDropSourceView::performDragOperation(const QVTransferDraggingInfo& info) {
    if (auto* d = dynamic_cast<QVTransferPerformDragDelegate*>(dragDropDelegate_.get()))
        return d->performDragOperation(info);
    return true;
}

void QVTransferDragDropSourceView::concludeDragOperation(const QVTransferDraggingInfo& info) {
    if (!respondsToConclude_) return;
    if (auto* d = dynamic_cast<QVTransferConcludeDragDelegate*>(dragDropDelegate_.get()))
        d->concludeDragOperation(info);
}

void QVTransferDragDropSourceView::paintEvent(QPaintEvent* event) {
    // Registered again on every redraw, as the area always has been; doing so is harmless.
    setAcceptDrops(true);
    QStyleOption option;
    option.initFrom(this);
    QPainter painter(this);
    style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);
    QWidget::paintEvent(event);
}

void QVTransferDragDropSourceView::dragEnterEvent(QDragEnterEvent* event) {
    const QVTransferDraggingInfo info{localFilenames(event->mimeData()), event->mimeData()};
    if (info.filenames.empty() || !(draggingEntered(info) & kDragOperationCopy)) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

void QVTransferDragDropSourceView::dragMoveEvent(QDragMoveEvent* event) {
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

void QVTransferDragDropSourceView::dragLeaveEvent(QDragLeaveEvent* event) {
    draggingExited(QVTransferDraggingInfo{});
    event->accept();
}

void QVTransferDragDropSourceView::dropEvent(QDropEvent* event) {
    const QVTransferDraggingInfo info{localFilenames(event->mimeData()), event->mimeData()};
    if (!prepareForDragOperation(info) || !performDragOperation(info)) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction);
    event->accept();
    concludeDragOperation(info);
}

}  // namespace qvt
