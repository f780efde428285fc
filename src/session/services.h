// The platform services a controller uses. The shipped defaults are the real ones; tests swap
// in fakes (a scaled or manual clock, a capture log, a scripted view) per controller.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "device/rest_client.h"
#include "platform/clock.h"
#include "platform/dispatch.h"
#include "platform/log.h"
#include "platform/paths.h"
#include "session/qvtransfer_private.h"

namespace qvt {

class QVTransferView;

using ViewFactory = std::function<std::unique_ptr<QVTransferView>(QVTransferActions& actions,
                                                                  const std::string& definition)>;

struct Services {
    std::shared_ptr<platform::Clock> clock;
    std::shared_ptr<platform::Log> log;
    std::shared_ptr<platform::Dispatcher> dispatch;
    std::shared_ptr<HttpClient> http;
    platform::UserFolders folders;
    // The interface definition's resource path; a test may point it elsewhere to see a
    // failed load.
    std::string interfaceDefinitionPath = ":/qvtransfer/ui/QVTransfer.ui";
    // Builds the front end from the interface definition; nothing means failure.
    ViewFactory viewFactory;
    // Opens a URL (a folder's file:// URL or a share's smb:// URL) in the desktop's file
    // browser; answers whether the desktop took it. Main thread.
    std::function<bool(const std::string& url)> openUrl;

    // Real clock, syslog, the Qt main thread when a Qt application exists, the current user's
    // folders and the Qt window.
    static Services defaults();
};

// The Qt window factory; defined with the Qt front end.
std::unique_ptr<QVTransferView> createQtTransferView(QVTransferActions& actions,
                                                     const std::string& definition);

}  // namespace qvt
