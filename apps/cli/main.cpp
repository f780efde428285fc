// qvtransfer-cli: the upload wizard in a terminal, for machines without a display and for
// scripts. See --help.
#include <sys/prctl.h>
#include <unistd.h>

#include <libsmbclient.h>

#include <QCoreApplication>
#include <QtGlobal>
#include <cstdio>
#include <memory>

#include "cli_options.h"
#include "console_session.h"
#include "console_texts.h"
#include "console_view.h"
#include "device/device_requests.h"
#include "device/mount_destination.h"
#include "device/rest_client.h"
#include "device/volume_presence.h"
#include "engine/path_names.h"
#include "platform/files.h"
#include "qvtransfer/Version.h"
#include "session/qvtransfer_private.h"
#include "session/services.h"
#include "terminal.h"

namespace {

int badArguments(const std::string& message) {
    std::fprintf(stderr, "qvtransfer-cli: %s\n(see qvtransfer-cli --help)\n", message.c_str());
    return qvt::cli::kExitBadArguments;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace qvt::cli;
    // The process may hold a device's password from its first line on: no core dump of it, and
    // no other process of the same user may read its memory or attach to it.
    prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
    std::vector<std::string> arguments(argv + 1, argv + argc);
    ParseResult parsed = parseArguments(arguments);
    if (!parsed.error.empty()) return badArguments(parsed.error);
    Options& options = parsed.options;
    if (options.help) {
        std::fputs(usageText(), stdout);
        return kExitAllArrived;
    }
    if (options.version) {
        // The library, and the Qt and libsmbclient it runs with (a packager's first question).
        std::printf("qvtransfer-cli, %s (%g), Qt %s, libsmbclient %s\n",
                    reinterpret_cast<const char*>(QVTransferFrameworkVersionString),
                    QVTransferFrameworkVersionNumber, qVersion(), smbc_version());
        return kExitAllArrived;
    }
    const bool interactive = isatty(STDIN_FILENO) == 1;
    if (options.sources.empty() && !options.resume && !interactive)
        return badArguments("no sources given");

    std::string error;
    std::optional<qvt::Record> device = deviceRecordFor(options, error);
    if (!device) return badArguments(error);
    if (!options.dasVolumes.empty()) {
        std::vector<std::string> mountPoints;
        for (const auto& volume : qvt::platform::files().mountedVolumes())
            mountPoints.push_back(volume.path);
        const std::string folder = firstFolderNotMounted(options.dasVolumes, mountPoints);
        if (!folder.empty())
            return badArguments("not a mounted volume: " + folder +
                                " (give the folder a file system is mounted on)");
    }
    if (!options.deviceFile.empty()) {
        // A disk that is not attached is told at once, rather than after the destination
        // screen has waited for volumes that cannot come.
        std::vector<std::string> mountPoints;
        for (const auto& volume : qvt::platform::files().mountedVolumes())
            mountPoints.push_back(volume.path);
        const std::vector<std::string> missing =
            qvt::device::unreachableVolumes(*device, mountPoints);
        const qvt::Record* info = device->record("deviceInfo");
        const qvt::List* volumes = info ? info->list("volumeArray") : nullptr;
        if (!missing.empty() && volumes && missing.size() == volumes->size()) {
            std::fprintf(
                stderr, "qvtransfer-cli: %s\n",
                consoleText("VOLUMES_NOT_THERE", {qvt::device::missingVolumesList(missing)})
                    .c_str());
            return kExitSomeFailed;
        }
    }
    if (device->string("deviceType") == "NAS") {
        // The serial number files the upload's record and its account, and it is how the device
        // is known again after it went away: with a wrong one, a device that comes back would
        // be taken for another and waited for without end. A device that does not answer here
        // is told about by the upload itself.
        const qvt::Record* info = device->record("deviceInfo");
        const std::string address = info ? info->string("ipAddress") : std::string();
        const std::string serial = info ? info->string("serialNumber") : std::string();
        qvt::CurlHttpClient client;
        const auto reply = qvt::device::requestSystemInformation(client, address);
        if (reply.serialNumber && *reply.serialNumber != serial)
            return badArguments("the device at " + address + " has the serial number " +
                                *reply.serialNumber + ", not " + serial);
    }
    // The console lists only the sources it is given, never the default folders.
    device->set("isZeroState", true);

    QCoreApplication app(argc, argv);
    Terminal terminal;
    ConsoleView* view = nullptr;
    qvt::Services services = qvt::Services::defaults();
    services.viewFactory = [&view](qvt::QVTransferActions&, const std::string&) {
        auto made = std::make_unique<ConsoleView>();
        view = made.get();
        return std::unique_ptr<qvt::QVTransferView>(std::move(made));
    };
    std::shared_ptr<QVTransferPrivate> controller =
        QVTransferPrivate::initWithDevice(*device, services);
    if (!controller || !view) {
        std::fprintf(stderr, "qvtransfer-cli: the wizard could not be created\n");
        return kExitSomeFailed;
    }
    // The uploader's own folders are left out wherever an upload meets them; given by name,
    // that would upload nothing while saying that everything arrived.
    const auto isTheUploadersOwn = [&controller](const std::string& source) {
        if (controller->isLeftOutOfWalks(source, true)) return true;
        // Or inside one of them (the state file itself, a share's mount point).
        for (std::string folder = qvt::engine::deletingLastPathComponent(source); folder.size() > 1;
             folder = qvt::engine::deletingLastPathComponent(folder))
            if (controller->isLeftOutOfWalks(folder, false)) return true;
        return false;
    };
    int code = kExitSomeFailed;
    bool refused = false;
    for (const std::string& source : options.sources) {
        // Through links too: a link to the state file, or a path through a link to a folder.
        const std::string real = qvt::platform::files().realPath(source);
        if (isTheUploadersOwn(source) || (!real.empty() && isTheUploadersOwn(real))) {
            code = badArguments(source +
                                " holds the uploader's own files (the device's shares are opened "
                                "there, or its record of uploads is kept there): it is never "
                                "uploaded");
            refused = true;
            break;
        }
    }
    // A refusal ends as any run does: the controller's background work has begun already.
    if (!refused) {
        ConsoleSession session(options, terminal, *device,
                               QVTransferPrivate::hostInterface(controller), *controller, *view);
        code = session.run();
    }
    // The controller's background work (the last save of the state file, unmounts) ends
    // first. Work that cannot end (a copy blocked on a source that never answers) is left to
    // the end of the process.
    const bool idle = services.dispatch->waitIdle(10.0);
    Terminal::restore();
    std::fflush(stdout);
    std::fflush(stderr);
    if (!idle) _exit(code);
    // The shares and volumes this run mounted go with it, however it ended (an error, a stop,
    // failed files kept for a retry the console does not offer): a mount point left in the
    // mount folder would wait there for the next run.
    controller->unmountEveryMountedShare();
    controller.reset();
    return code;
}
