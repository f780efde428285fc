// A sample host application: builds a device record (from a property-list file or from flags),
// opens the upload wizard for it and prints every message the wizard sends back.
#include <fcntl.h>
#include <unistd.h>

#include <QApplication>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QSocketNotifier>
#include <QTimer>
#include <QWidget>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "device/volume_presence.h"
#include "host_texts.h"
#include "platform/files.h"
#include "platform/plist_io.h"
#include "qvtransfer/QVTransfer.h"
#include "qvtransfer/Version.h"

namespace {

const char* kUsage =
    "usage: qvtransfer-host [--record FILE | --das PATH... | --nas ADDRESS --serial SN --name "
    "NAME]\n"
    "                       [--zero-state] [--resume] [--screenshot PNG]\n"
    "Without --resume, an interrupted upload recorded for the device is offered for resuming.\n"
    "SIGTERM and SIGHUP (the end of a desktop session) record an upload under way for --resume\n"
    "and end with 143 and 129.\n";

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

// What the command line asks for.
struct HostOptions {
    std::string recordFile, nasAddress, serial, name, screenshot;
    std::vector<std::string> dasPaths;
    bool resume = false, zeroState = false, das = false;
};

// Reads the arguments; answers an exit status when the program is done (help, version, a bad
// argument), nothing when it goes on.
std::optional<int> parseArguments(int argc, char** argv, HostOptions& o) {
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        auto value = [&](std::string& out) {
            if (i + 1 >= argc) return false;
            out = argv[++i];
            return true;
        };
        if (a == "--record") {
            if (!value(o.recordFile)) return fail("--record needs a file");
        } else if (a == "--nas") {
            if (!value(o.nasAddress)) return fail("--nas needs an address");
        } else if (a == "--serial") {
            if (!value(o.serial)) return fail("--serial needs a serial number");
        } else if (a == "--name") {
            if (!value(o.name)) return fail("--name needs a product name");
        } else if (a == "--screenshot") {
            if (!value(o.screenshot)) return fail("--screenshot needs a file");
        } else if (a == "--das") {
            o.das = true;
            while (i + 1 < argc && std::strncmp(argv[i + 1], "--", 2) != 0)
                o.dasPaths.push_back(argv[++i]);
        } else if (a == "--resume") {
            o.resume = true;
        } else if (a == "--zero-state") {
            o.zeroState = true;
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
    return std::nullopt;
}

// The device record the options describe, or nothing with `error` set.
std::optional<qvt::Record> deviceRecord(const HostOptions& o, std::string& error) {
    if (!o.recordFile.empty()) {
        auto value = qvt::platform::readPropertyList(o.recordFile);
        if (!value || !value->asRecord()) {
            error = "cannot read a device record from " + o.recordFile;
            return std::nullopt;
        }
        // The wizard has no screen for a device of no known kind: it would open an empty
        // window and wait there.
        const std::string type = value->asRecord()->string("deviceType");
        if (type != "NAS" && type != "DAS") {
            error = "the device record in " + o.recordFile + " has no deviceType NAS or DAS";
            return std::nullopt;
        }
        return *value->asRecord();
    }
    if (o.das) {
        if (o.dasPaths.empty()) {
            error = "--das needs at least one volume folder";
            return std::nullopt;
        }
        qvt::List volumes;
        int n = 1;
        for (const auto& p : o.dasPaths) {
            volumes.push_back(qvt::Record{{"volumeName", baseName(p)},
                                          {"volumePath", p},
                                          {"bsdName", "local" + std::to_string(n++)},
                                          {"mounted", true},
                                          {"uuid", ""}});
        }
        const std::string name =
            o.name.empty() ? qvt::host::hostText("HOST_LOCAL_DRIVE").toStdString() : o.name;
        qvt::Record info{{"productName", name},
                         {"serialNumber", o.serial.empty() ? std::string("LOCAL-DRIVE") : o.serial},
                         {"volumeArray", volumes}};
        return qvt::Record{
            {"deviceType", "DAS"}, {"isZeroState", o.zeroState}, {"deviceInfo", info}};
    }
    if (!o.nasAddress.empty()) {
        if (o.serial.empty() || o.name.empty()) {
            error = "--nas needs --serial and --name";
            return std::nullopt;
        }
        qvt::Record info{{"productName", o.name},
                         {"ipAddress", o.nasAddress},
                         {"hostName", o.name},
                         {"serialNumber", o.serial},
                         {"volumeArray", qvt::List{}}};
        return qvt::Record{
            {"deviceType", "NAS"}, {"isZeroState", o.zeroState}, {"deviceInfo", info}};
    }
    error = "no device given: use --record FILE, --das PATH... or --nas ADDRESS";
    return std::nullopt;
}

// The volumes of an attached device that are not there, when none of them is.
std::vector<std::string> missingVolumes(const qvt::Record& device) {
    std::vector<std::string> mountPoints;
    for (const auto& volume : qvt::platform::files().mountedVolumes())
        mountPoints.push_back(volume.path);
    const std::vector<std::string> missing = qvt::device::unreachableVolumes(device, mountPoints);
    const qvt::Record* info = device.record("deviceInfo");
    const qvt::List* volumes = info ? info->list("volumeArray") : nullptr;
    if (!volumes || missing.size() != volumes->size()) return {};
    return missing;
}

// Opens the wizard; when the state file holds an interrupted upload for the device, first asks
// whether to take it up (the library leaves that choice to its host). Answers the question
// while it is open, so that the program can close it before it lets the wizard go.
QMessageBox* startWizard(const std::shared_ptr<QVTransfer>& wizard,
                         const std::string& productName) {
    if (!wizard->hasUploadToResume()) {
        wizard->startFileTransfer();
        return nullptr;
    }
    std::printf("an interrupted upload to %s can be resumed\n", productName.c_str());
    std::fflush(stdout);
    auto* box = new QMessageBox(
        QMessageBox::Question, qvt::host::hostText("HOST_RESUME_TITLE"),
        qvt::host::hostText("HOST_RESUME_QUESTION", QString::fromStdString(productName)));
    box->setObjectName(QStringLiteral("resumeOffer"));
    // The device's name is shown as it is, never read as markup.
    box->setTextFormat(Qt::PlainText);
    QPushButton* resume =
        box->addButton(qvt::host::hostText("HOST_RESUME_btn"), QMessageBox::AcceptRole);
    box->addButton(qvt::host::hostText("HOST_NEW_UPLOAD_btn"), QMessageBox::RejectRole);
    box->setDefaultButton(resume);
    box->setAttribute(Qt::WA_DeleteOnClose);
    // The question holds the wizard weakly: the program owns it.
    const std::weak_ptr<QVTransfer> weak = wizard;
    QObject::connect(box, &QMessageBox::finished, box, [box, resume, weak] {
        const auto w = weak.lock();
        if (!w) return;
        if (box->clickedButton() == resume)
            w->resumeFileTransferAfterRestart();
        else
            w->startFileTransfer();
    });
    box->open();
    return box;
}

// Saves what a person would see (the wizard's window, or the question that comes before it) to
// `file` once it has laid itself out, then ends the program.
void saveScreenshotLater(QApplication& app, const std::string& file) {
    QTimer::singleShot(500, [&app, file] {
        bool saved = false;
        for (QWidget* w : QApplication::topLevelWidgets()) {
            if (w->isVisible() && (w->windowTitle() == QStringLiteral("Tessaly") ||
                                   w->objectName() == QStringLiteral("resumeOffer") ||
                                   w->objectName() == QStringLiteral("volumeMissing"))) {
                saved = w->grab().save(QString::fromStdString(file), "PNG");
                break;
            }
        }
        std::printf(saved ? "screenshot saved to %s\n" : "no window to capture for %s\n",
                    file.c_str());
        app.exit(saved ? 0 : 1);
    });
}

// The end of the desktop session (SIGTERM, SIGHUP) is not a stop: the handler only writes the
// signal's number to a pipe, and the main loop lets the wizard record its upload and let go of
// its shares, then ends with 128 + the number, as the signal itself would have.
int sessionEndPipe[2] = {-1, -1};

extern "C" void onSessionEnd(int number) {
    const int savedErrno = errno;
    const auto byte = static_cast<unsigned char>(number);
    [[maybe_unused]] const ssize_t written = write(sessionEndPipe[1], &byte, 1);
    errno = savedErrno;
}

void suspendAtTheEndOfTheSession(QApplication& app, const std::shared_ptr<QVTransfer>& wizard) {
    if (pipe2(sessionEndPipe, O_CLOEXEC | O_NONBLOCK) != 0) return;
    auto* notifier = new QSocketNotifier(sessionEndPipe[0], QSocketNotifier::Read, &app);
    const std::weak_ptr<QVTransfer> weak = wizard;
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [weak] {
        unsigned char number = 0;
        if (read(sessionEndPipe[0], &number, 1) != 1) return;
        bool recorded = false;
        if (const auto w = weak.lock()) {
            w->suspendForEndOfSession();
            recorded = w->hasUploadToResume();
        }
        std::printf(recorded
                        ? "the desktop session ends: an upload under way is recorded for --resume\n"
                        : "the desktop session ends\n");
        std::fflush(stdout);
        // The copy thread may be inside a file: the process ends as the signal would have
        // ended it, after the record was written. The file's hidden copy goes when the upload
        // is taken up.
        std::_Exit(128 + number);
    });
    struct sigaction action {};
    action.sa_handler = onSessionEnd;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int number : {SIGTERM, SIGHUP}) {
        // A signal the host was started to ignore (nohup) stays ignored.
        struct sigaction before {};
        if (sigaction(number, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) continue;
        sigaction(number, &action, nullptr);
    }
}

}  // namespace

int main(int argc, char** argv) {
    HostOptions options;
    if (const auto done = parseArguments(argc, argv, options)) return *done;
    std::string error;
    const std::optional<qvt::Record> device = deviceRecord(options, error);
    if (!device) return fail(error);

    QApplication app(argc, argv);
    qvt::host::installQtTranslations();
    // A disk none of whose volumes is there is told at once: the wizard would wait for them.
    if (const auto missing = missingVolumes(*device); !missing.empty()) {
        const QString sentence =
            qvt::host::hostText("HOST_VOLUMES_NOT_THERE",
                                QString::fromStdString(qvt::device::missingVolumesList(missing)));
        std::fprintf(stderr, "qvtransfer-host: %s\n", sentence.toUtf8().constData());
        auto* box = new QMessageBox(QMessageBox::Warning, QStringLiteral("Tessaly"), sentence);
        box->addButton(qvt::host::hostText("HOST_CLOSE_btn"), QMessageBox::RejectRole);
        box->setObjectName(QStringLiteral("volumeMissing"));
        box->setTextFormat(Qt::PlainText);
        box->setAttribute(Qt::WA_DeleteOnClose);
        QObject::connect(box, &QMessageBox::finished, &app, [&app] { app.exit(1); });
        box->open();
        if (!options.screenshot.empty()) saveScreenshotLater(app, options.screenshot);
        app.exec();
        return 1;
    }
    auto wizard = QVTransfer::initWithDevice(*device);
    if (!wizard) return fail("the wizard could not be created");
    auto delegate = std::make_shared<PrintingDelegate>();
    wizard->setDelegate(delegate);
    suspendAtTheEndOfTheSession(app, wizard);
    QPointer<QMessageBox> offer;
    if (options.resume)
        wizard->resumeFileTransferAfterRestart();
    else
        offer = startWizard(wizard, device->record("deviceInfo")
                                        ? device->record("deviceInfo")->string("productName")
                                        : std::string());

    if (!options.screenshot.empty()) saveScreenshotLater(app, options.screenshot);
    const int rc = app.exec();
    delete offer.data();  // a question left open (a screenshot was taken of it)
    wizard.reset();
    return rc;
}
