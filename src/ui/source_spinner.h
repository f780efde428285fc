// The busy spinner of the source list: a row's count cell spins for as long as the row waits
// for its count.
#pragma once

#include <QStyledItemDelegate>

class QTableView;
class QTimer;

namespace qvt {

// Item role that is true on the count cell of a row still being counted (its files label is
// the five-blank placeholder).
inline constexpr int kSourceCountingRole = Qt::UserRole + 30;

class SourceCountSpinnerDelegate : public QStyledItemDelegate {
    Q_OBJECT
  public:
    explicit SourceCountSpinnerDelegate(QTableView* table);
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    // Whether any cell of the delegate's column spins now.
    bool spinning() const;

  private:
    void tick();

    QTableView* table_;
    QTimer* timer_;
    int step_ = 0;
};

// Puts the spinner on `column` of `table`.
SourceCountSpinnerDelegate* installSourceCountSpinner(QTableView* table, int column);

}  // namespace qvt
