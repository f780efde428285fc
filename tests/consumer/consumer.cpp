// A minimal host built against the installed library: it sees only the public headers, links
// and reads the version symbols.
#include <qvtransfer/QVTransfer.h>

#include <cstdio>
#include <memory>

class Host : public QVTransferCancelDelegate {
    void cancelledQVTransfer() override {}
};

int main() {
    std::printf("%s\n", reinterpret_cast<const char*>(QVTransferFrameworkVersionString));
    qvt::Record device{{"deviceType", "DAS"}};
    // The factory is there to call; calling it needs a running QApplication.
    std::shared_ptr<QVTransfer> (*factory)(const qvt::Record&) = &QVTransfer::initWithDevice;
    std::shared_ptr<QVTransferDelegate> host = std::make_shared<Host>();
    const bool linked = factory != nullptr && host && device.string("deviceType") == "DAS";
    return linked && QVTransferFrameworkVersionNumber >= 1.0 ? 0 : 1;
}
