// The upload's progress bar. Its range and value are byte counts, far beyond the int range of
// a plain bar, so they are kept as doubles and drawn in proportion. The bar is drawn inset
// inside the control: 3 points on platform 10.10 and later, 1 point before (the newer bar is
// slimmer).
#pragma once

#include <QProgressBar>

namespace qvt {

class QVTransferProgressIndicator : public QProgressBar {
    Q_OBJECT
  public:
    explicit QVTransferProgressIndicator(QWidget* parent = nullptr);

    // The inset for platform version major.minor.
    static int insetForVersion(long major, long minor);
    // The inset this bar draws with, from the platform version read when it was made.
    int drawingInset() const { return inset_; }

    void setProgress(double value, double maximum);
    double progressValue() const { return value_; }
    double progressMaximum() const { return maximum_; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    static constexpr int kSteps = 10000;
    void applySteps();

    int inset_;
    double value_ = 0;
    double maximum_ = 100;
};

}  // namespace qvt
