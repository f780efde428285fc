// The drop area of the source screen: takes file names dragged from a file manager and hands
// them to its delegate.
#pragma once

#include <QWidget>

#include <memory>
#include <string>
#include <vector>

class QMimeData;
namespace qvt {
class QVTransferActions;
}

namespace qvt {

// What a drag carries, as the drop area's delegate sees it.
struct QVTransferDraggingInfo {
    // The dragged items that are local files, as absolute paths in the file system's encoding.
    std::vector<std::string> filenames;
    const QMimeData* mimeData = nullptr;
};

// The drop area's delegate. Every message is optional: a delegate implements those it wants by
// deriving from the matching interfaces below.
class QVTransferDragDropSourceViewDelegate {
  public:
    virtual ~QVTransferDragDropSourceViewDelegate() = default;
};
class QVTransferDraggingEnteredDelegate : public virtual QVTransferDragDropSourceViewDelegate {
  public:
    // Returns the drag operations offered (1 = copy).
    virtual int draggingEntered(const QVTransferDraggingInfo& info) = 0;
};
class QVTransferDraggingExitedDelegate : public virtual QVTransferDragDropSourceViewDelegate {
  public:
    virtual void draggingExited(const QVTransferDraggingInfo& info) = 0;
};
class QVTransferPrepareDragDelegate : public virtual QVTransferDragDropSourceViewDelegate {
  public:
    virtual bool prepareForDragOperation(const QVTransferDraggingInfo& info) = 0;
};
class QVTransferPerformDragDelegate : public virtual QVTransferDragDropSourceViewDelegate {
  public:
    virtual bool performDragOperation(const QVTransferDraggingInfo& info) = 0;
};
class QVTransferConcludeDragDelegate : public virtual QVTransferDragDropSourceViewDelegate {
  public:
    virtual void concludeDragOperation(const QVTransferDraggingInfo& info) = 0;
};

// The drag operation value of a copy.
inline constexpr int kDragOperationCopy = 1;

class QVTransferDragDropSourceView : public QWidget {
    Q_OBJECT
  public:
    explicit QVTransferDragDropSourceView(QWidget* parent = nullptr);

    void setDelegate(std::shared_ptr<QVTransferDragDropSourceViewDelegate> delegate);
    const std::shared_ptr<QVTransferDragDropSourceViewDelegate>& dragDropDelegate() const {
        return dragDropDelegate_;
    }
    bool delegateRespondsToFileTransferDragDropSourceView() const { return respondsToConclude_; }

    // The local file paths among a drag's URLs, in their order.
    static std::vector<std::string> localFilenames(const QMimeData* mimeData);

    int draggingEntered(const QVTransferDraggingInfo& info);
    void draggingExited(const QVTransferDraggingInfo& info);
    bool prepareForDragOperation(const QVTransferDraggingInfo& info);
    bool performDragOperation(const QVTransferDraggingInfo& info);
    void concludeDragOperation(const QVTransferDraggingInfo& info);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    std::shared_ptr<QVTransferDragDropSourceViewDelegate> dragDropDelegate_;
    bool respondsToConclude_ = false;
};

// Makes the controller the delegate of the drop area named "dragDropSourceView" under `root`:
// dropped file names go to its concludeDragOperation. Answers whether the area was found.
bool installSourceDropTarget(QWidget* root, QVTransferActions& owner);

}  // namespace qvt
