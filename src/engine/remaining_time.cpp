// The remaining-time estimator and the status screen's texts.
#include "qvtransfer/QVTransfer.h"

void QVTransfer::calculateRemainingTime() {}
void QVTransfer::hideStatusWindow() {}
void QVTransfer::showProgressStatus() {}
