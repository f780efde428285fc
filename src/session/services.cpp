#include "session/services.h"

#include "platform/desktop_open.h"

#include <QCoreApplication>

#include "platform/qt_main_thread.h"
#include "session/view.h"

namespace qvt {

Services Services::defaults() {
    Services s;
    s.clock = std::make_shared<platform::SystemClock>(1.0);
    s.log = std::make_shared<platform::SysLog>();
    std::shared_ptr<platform::MainThread> main;
    if (QCoreApplication::instance())
        main = std::make_shared<platform::QtMainThread>();
    else
        main = std::make_shared<platform::QueueMainThread>();
    s.dispatch = std::make_shared<platform::Dispatcher>(main);
    s.http = defaultHttpClient();
    s.folders = platform::UserFolders::current();
    s.viewFactory = &createQtTransferView;
    s.openUrl = &platform::openInFileBrowser;
    return s;
}

}  // namespace qvt
