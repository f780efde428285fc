// The Qt window as the controller's front end.
// (The session headers come first: their log interface has a member that Qt's keyword macros
// would rewrite.)
#include "session/services.h"
#include "ui/QtTransferWindow.h"

namespace qvt {

std::unique_ptr<QVTransferView> createQtTransferView(QVTransferActions& actions,
                                                     const std::string& definition) {
    return QtTransferWindow::create(actions, definition);
}

}  // namespace qvt
