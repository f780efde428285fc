// A minimal host built against the installed library: it links, sees the public headers and
// reads the version symbols.
#include <qvtransfer/QVTransfer.h>
#include <qvtransfer/Version.h>

#include <cstdio>

class Host : public QVTransferCancelDelegate {
    void cancelledQVTransfer() override {}
};

int main() {
    std::printf("%s\n", reinterpret_cast<const char*>(QVTransferFrameworkVersionString));
    qvt::Record device{{"deviceType", "DAS"}};
    (void)device;
    return QVTransferFrameworkVersionNumber >= 1.0 ? 0 : 1;
}
