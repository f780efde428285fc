// A sample host application: builds a device record (from a property-list file or from flags),
// opens the upload wizard for it and prints every message the wizard sends back.
#include <QApplication>
#include <QTimer>
#include <QWidget>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "platform/plist_io.h"
#include "qvtransfer/QVTransfer.h"
#include "qvtransfer/Version.h"

namespace {

const char* kUsage =
    "usage: qvtransfer-host [--record FILE | --das PATH... | --nas ADDRESS --serial SN --name "
    "NAME]\n"
    "                       [--zero-state] [--resume] [--screenshot PNG]\n";

class PrintingDelegate : public QVTransferFullDelegate {
  public:
    void fileTransferStatusUpdate(bool completed, bool failed, bool cancelled, bool paused,
                                  bool reachable, const std::string& status,
                                  const std::string& subStatus) override {
        std::printf(
            "fileTransferStatusUpdate completed=%d failed=%d cancelled=%d paused=%d reachable=%d "
            "status=\"%s\" subStatus=\"%s\"\n",
            completed, failed, cancelled, paused, reachable, status.c_str(), subStatus.c_str());
        std::fflush(stdout);
    }
    void backToVantorFromQVTransfer() override {
        std::printf("backToVantorFromQVTransfer\n");
        std::fflush(stdout);
        QMetaObject::invokeMethod(
            qApp, [] { qApp->quit(); }, Qt::QueuedConnection);
    }
    void cancelledQVTransfer() override {
        std::printf("cancelledQVTransfer\n");
        std::fflush(stdout);
        QMetaObject::invokeMethod(
            qApp, [] { qApp->quit(); }, Qt::QueuedConnection);
    }
};

int fail(const std::string& message) {
    std::fprintf(stderr, "qvtransfer-host: %s\n", message.c_str());
    return 2;
}

std::string baseName(const std::string& path) {
    std::string p = path;
    while (p.size() > 1 && p.back() == '/') p.pop_back();
    const auto slash = p.rfind('/');
    return slash == std::string::npos ? p : p.substr(slash + 1);
}

}  // namespace

int main(int argc, char** argv) {
    std::string recordFile, nasAddress, serial, name, screenshot;
    std::vector<std::string> dasPaths;
    bool resume = false, zeroState = false, das = false;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        auto value = [&](std::string& out) {
            if (i + 1 >= argc) return false;
            out = argv[++i];
            return true;
        };
        if (a == "--record") {
            if (!value(recordFile)) return fail("--record needs a file");
        } else if (a == "--nas") {
            if (!value(nasAddress)) return fail("--nas needs an address");
        } else if (a == "--serial") {
            if (!value(serial)) return fail("--serial needs a serial number");
        } else if (a == "--name") {
            if (!value(name)) return fail("--name needs a product name");
        } else if (a == "--screenshot") {
            if (!value(screenshot)) return fail("--screenshot needs a file");
        } else if (a == "--das") {
            das = true;
            while (i + 1 < argc && std::strncmp(argv[i + 1], "--", 2) != 0)
                dasPaths.push_back(argv[++i]);
        } else if (a == "--resume") {
            resume = true;
        } else if (a == "--zero-state") {
            zeroState = true;
        } else if (a == "--help" || a == "-h") {
            std::fputs(kUsage, stdout);
            return 0;
        } else if (a == "--version") {
            std::printf("%s (%g)\n",
                        reinterpret_cast<const char*>(QVTransferFrameworkVersionString),
                        QVTransferFrameworkVersionNumber);
            return 0;
        } else {
            return fail("unknown argument " + a + " (see --help)");
        }
    }

    qvt::Record device;
    if (!recordFile.empty()) {
        auto value = qvt::platform::readPropertyList(recordFile);
        if (!value || !value->asRecord())
            return fail("cannot read a device record from " + recordFile);
        device = *value->asRecord();
    } else if (das) {
        if (dasPaths.empty()) return fail("--das needs at least one volume folder");
        qvt::List volumes;
        int n = 1;
        for (const auto& p : dasPaths) {
            volumes.push_back(qvt::Record{{"volumeName", baseName(p)},
                                          {"volumePath", p},
                                          {"bsdName", "local" + std::to_string(n++)},
                                          {"mounted", true},
                                          {"uuid", ""}});
        }
        qvt::Record info{{"productName", name.empty() ? std::string("Local Drive") : name},
                         {"serialNumber", serial.empty() ? std::string("LOCAL-DRIVE") : serial},
                         {"volumeArray", volumes}};
        device =
            qvt::Record{{"deviceType", "DAS"}, {"isZeroState", zeroState}, {"deviceInfo", info}};
    } else if (!nasAddress.empty()) {
        if (serial.empty() || name.empty()) return fail("--nas needs --serial and --name");
        qvt::Record info{{"productName", name},
                         {"ipAddress", nasAddress},
                         {"hostName", name},
                         {"serialNumber", serial},
                         {"volumeArray", qvt::List{}}};
        device =
            qvt::Record{{"deviceType", "NAS"}, {"isZeroState", zeroState}, {"deviceInfo", info}};
    } else {
        return fail("no device given: use --record FILE, --das PATH... or --nas ADDRESS");
    }

    QApplication app(argc, argv);
    auto wizard = QVTransfer::initWithDevice(device);
    if (!wizard) return fail("the wizard could not be created");
    auto delegate = std::make_shared<PrintingDelegate>();
    wizard->setDelegate(delegate);
    if (resume)
        wizard->resumeFileTransferAfterRestart();
    else
        wizard->startFileTransfer();

    if (!screenshot.empty()) {
        // Give the window a moment to lay out, then save what a person would see.
        QTimer::singleShot(500, [&] {
            bool saved = false;
            for (QWidget* w : QApplication::topLevelWidgets()) {
                if (w->isVisible() && w->windowTitle() == QStringLiteral("Tessaly")) {
                    saved = w->grab().save(QString::fromStdString(screenshot), "PNG");
                    break;
                }
            }
            std::printf(saved ? "screenshot saved to %s\n" : "no window to capture for %s\n",
                        screenshot.c_str());
            app.exit(saved ? 0 : 1);
        });
    }
    const int rc = app.exec();
    wizard.reset();
    return rc;
}
