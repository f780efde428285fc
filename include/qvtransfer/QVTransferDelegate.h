// The messages the wizard sends to its host. A host implements any subset of them by deriving
// from the matching interfaces below; the controller asks which ones a delegate implements, the
// way a caller would ask whether an object responds to a message.
#pragma once

#include <string>

#include "qvtransfer/Export.h"

class QVT_EXPORT QVTransferDelegate {
  public:
    virtual ~QVTransferDelegate() = default;
};

// Sent after each file result, at the end of an upload, by the time estimator, on pause and
// resume, and on disconnect, reconnection and device-full events. Sent on whatever thread the
// event happens on.
class QVT_EXPORT QVTransferStatusDelegate : public virtual QVTransferDelegate {
  public:
    virtual void fileTransferStatusUpdate(bool isFileTransferCompleted, bool isFileTransferFailed,
                                          bool isFileTransferCancelled, bool isFileTransferPaused,
                                          bool isDeviceReachable, const std::string& progressStatus,
                                          const std::string& subProgressStatus) = 0;
};

// Sent when the user goes back from the first screen of the wizard.
class QVT_EXPORT QVTransferBackDelegate : public virtual QVTransferDelegate {
  public:
    virtual void backToVantorFromQVTransfer() = 0;
};

// Sent when the session ends; the host may then release the controller.
class QVT_EXPORT QVTransferCancelDelegate : public virtual QVTransferDelegate {
  public:
    virtual void cancelledQVTransfer() = 0;
};

// Convenience base for a host that implements all three.
class QVT_EXPORT QVTransferFullDelegate : public QVTransferStatusDelegate,
                                          public QVTransferBackDelegate,
                                          public QVTransferCancelDelegate {};
