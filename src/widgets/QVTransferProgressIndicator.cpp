#include "widgets/QVTransferProgressIndicator.h"

#include <QPainter>
#include <QStyleOptionProgressBar>
#include <algorithm>

#include "platform/version.h"

namespace qvt {

QVTransferProgressIndicator::QVTransferProgressIndicator(QWidget* parent) : QProgressBar(parent) {
    const platform::PlatformVersion version = platform::readPlatformVersion();
    inset_ = insetForVersion(version.major, version.minor);
    setTextVisible(false);
    setRange(0, kSteps);
    applySteps();
}

int QVTransferProgressIndicator::insetForVersion(long major, long minor) {
    const bool modern = major > 10 || (major == 10 && minor >= 10);
    return modern ? 3 : 1;
}

void QVTransferProgressIndicator::setProgress(double value, double maximum) {
    value_ = value;
    maximum_ = maximum;
    applySteps();
}

void QVTransferProgressIndicator::applySteps() {
    double fraction = maximum_ > 0 ? value_ / maximum_ : 0.0;
    fraction = std::clamp(fraction, 0.0, 1.0);
    setValue(static_cast<int>(fraction * kSteps + 0.5));
}

void QVTransferProgressIndicator::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    QStyleOptionProgressBar option;
    initStyleOption(&option);
    option.rect = rect().adjusted(inset_, inset_, -inset_, -inset_);
    style()->drawControl(QStyle::CE_ProgressBar, &option, &painter, this);
}

}  // namespace qvt
