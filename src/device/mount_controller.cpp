// The controller's side of the mount service: waiting for a volume, unmounting.
#include "device/mount_destination.h"
#include "platform/clock.h"
#include "session/qvtransfer_private.h"

bool QVTransferPrivate::isVolumeMounted(const std::string& path) {
    // A local volume's mount completes after the request returns; poll until it shows. The
    // short pause keeps the waiting thread from spinning a core.
    while (!qvt::QVTransferMountDestination::anyVolumePathContains(path)) clock().sleepFor(0.05);
    return true;
}

void QVTransferPrivate::unmountSharesVolumes(const std::vector<std::string>& paths) {
    qvt::QVTransferMountDestination::unmountPaths(paths);
}

void QVTransferPrivate::unmountEveryMountedShare() {
    if (mountObject) unmountSharesVolumes(mountObject->mountedPathsArray.get());
}

void QVTransferPrivate::unMountSharesNotInUse() {
    if (!mountObject) return;
    // The recorded list keeps every path; only the unmount list is filtered.
    const auto mounted = mountObject->mountedPathsArray.get();
    unmountSharesVolumes(
        qvt::QVTransferMountDestination::pathsNotIn(mounted, selectedDestinationShare.get()));
}
