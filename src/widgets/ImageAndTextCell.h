// A list cell with an icon left of its text, as in the source list and the failed list: the
// icon sits in a 30 x 18 slot 3 points from the cell's left edge, centred vertically, and the
// text starts 5 points right of the slot, centred vertically too. Editing uses the same text
// area. A text of several lines shows its first line in the cell's font and the following
// lines two points smaller (a name with its detail below it).
#pragma once

#include <QStyledItemDelegate>

namespace qvt {

class ImageAndTextCell : public QStyledItemDelegate {
    Q_OBJECT
  public:
    static constexpr int kImageWidth = 30;
    static constexpr int kImageHeight = 18;
    static constexpr int kImageLeftInset = 3;
    static constexpr int kTextGap = 5;

    explicit ImageAndTextCell(QObject* parent = nullptr);

    // The slot of the image inside `cell`.
    static QRect imageRect(const QRect& cell);
    // Where text `textHeight` high starts inside `cell`.
    static QRect titleRect(const QRect& cell, int textHeight);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override;

    // Rows of a fixed height (0: as tall as their content needs).
    void setRowHeight(int height) { rowHeight_ = height; }
    int rowHeight() const { return rowHeight_; }

  protected:
    // The image and the text colour of a row; by default the item's decoration and its
    // foreground (the palette's text colours when it has none or is selected).
    virtual QIcon imageFor(const QStyleOptionViewItem& option, const QModelIndex& index) const;
    virtual QColor textColourFor(const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const;

  private:
    int rowHeight_ = 0;

    static int textHeight(const QStyleOptionViewItem& option, const QString& text);
};

}  // namespace qvt
