#include "cli_options.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>

#include "console_texts.h"
#include "platform/files.h"
#include "platform/plist_io.h"

namespace qvt::cli {

namespace {

std::string withoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

std::string absolutePath(const std::string& path) {
    if (path.empty()) return path;
    std::filesystem::path p(path);
    if (p.is_relative()) {
        char buffer[PATH_MAX];
        if (!getcwd(buffer, sizeof buffer)) return path;
        p = std::filesystem::path(buffer) / p;
    }
    // ".." is taken where the system takes it, after the links before it are followed, as
    // ls, cp and rm take it: "link/../X" is the X beside the link's target. Resolved by name,
    // it would be another folder, and --move would remove that one. Only the part up to the
    // last ".." is resolved; the names after it stay as typed, so a link given as a source
    // keeps its own name. When that part is not there, the path is kept as it is and names no
    // source.
    const std::vector<std::filesystem::path> parts(p.begin(), p.end());
    const auto lastDotDot = std::find(parts.rbegin(), parts.rend(), std::filesystem::path(".."));
    if (lastDotDot != parts.rend()) {
        const auto afterIt = lastDotDot.base();
        std::filesystem::path head;
        for (auto part = parts.begin(); part != afterIt; ++part) head /= *part;
        char resolved[PATH_MAX];
        if (!realpath(head.c_str(), resolved)) return p.string();
        p = resolved;
        for (auto part = afterIt; part != parts.end(); ++part) p /= *part;
    }
    return withoutTrailingSlashes(p.lexically_normal().string());
}

bool exists(const std::string& path) {
    // lstat: a socket, a pipe or a link is a source like any other.
    struct stat st {};
    return lstat(path.c_str(), &st) == 0;
}

}  // namespace

const char* usageText() {
    return "usage: qvtransfer-cli DEVICE [options] [--] SOURCE...\n"
           "\n"
           "Uploads files and folders to a storage device with the upload wizard's own logic,\n"
           "in a terminal or from a script.\n"
           "\n"
           "DEVICE (one of):\n"
           "  --device FILE         a device record (property list)\n"
           "  --das PATH            a directly attached device whose volume is mounted at PATH\n"
           "                        (repeat for more volumes)\n"
           "  --nas ADDRESS --serial SN [--name NAME]\n"
           "                        a network storage device at ADDRESS (host or host:port)\n"
           "  --name NAME           the product name shown for --das or --nas\n"
           "\n"
           "Options:\n"
           "  --user NAME           the device account to upload as\n"
           "  --password-stdin      read the account's password from the first line of stdin\n"
           "  --destination DEST    SHARE/FOLDER (a share or volume name, then folders below\n"
           "                        it), or an absolute folder on a local volume\n"
           "  --move                remove the sources once uploaded\n"
           "  --resume              continue the upload recorded in the state file (with the\n"
           "                        keychain's account for the device, or --user's)\n"
           "  --replace-interrupted start a new upload although the state file records one that\n"
           "                        did not finish (it can then no longer be taken up); without\n"
           "                        it the new upload is refused\n"
           "  -q, --quiet           print only errors, questions, the failed items and the\n"
           "                        last line\n"
           "  --json                one JSON object per line on stdout for each event:\n"
           "                        started, progress, paused, resumed, stop question,\n"
           "                        waiting, continuing, arrived, failed, retry question,\n"
           "                        retrying, completed, suspended, ended\n"
           "  -h, --help            this text\n"
           "  --version             the versions of the uploader, Qt and libsmbclient\n"
           "\n"
           "While uploading: p pauses, r resumes, s stops (after a confirmation). When items\n"
           "failed, r at the end tries them again. Keys come from the terminal, or from stdin\n"
           "when it is a pipe (its end answers no). SIGINT (Ctrl-C) stops without\n"
           "asking. SIGTERM and SIGHUP (the end of a desktop session) are not a stop: the upload\n"
           "is paused and recorded, and --resume takes it up later.\n"
           "\n"
           "Exit status: 0 every file arrived; 1 some files failed, or the upload could not be\n"
           "done; 2 bad arguments, an earlier upload did not finish (see\n"
           "--replace-interrupted), or another process has an upload open; 130 stopped; 143\n"
           "(SIGTERM) or 129 (SIGHUP) ended by the session, an upload under way paused and\n"
           "recorded for --resume.\n"
           "\n"
           "Examples:\n"
           "  An attached disk whose volume is mounted at /media/anna/Backup:\n"
           "    qvtransfer-cli --das /media/anna/Backup --destination Backup/Photos "
           "~/Pictures/Trip\n"
           "  A network device, the password read from a file:\n"
           "    qvtransfer-cli --nas 192.168.1.20 --serial QV1234 --user anna --password-stdin \\\n"
           "        --destination Family/2026 ~/Pictures/2026 <password.txt\n";
}

ParseResult parseArguments(const std::vector<std::string>& arguments) {
    ParseResult result;
    Options& o = result.options;
    auto fail = [&](std::string message) {
        result.error = std::move(message);
        return result;
    };
    bool onlySources = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& a = arguments[i];
        auto value = [&](std::string& out) {
            if (i + 1 >= arguments.size()) return false;
            out = arguments[++i];
            return !out.empty();
        };
        if (onlySources || a.empty() || a.front() != '-' || a == "-") {
            o.sources.push_back(a);
            continue;
        }
        if (a == "--") {
            onlySources = true;
        } else if (a == "--device") {
            if (!value(o.deviceFile)) return fail("--device needs a file");
        } else if (a == "--das") {
            std::string path;
            if (!value(path)) return fail("--das needs a volume folder");
            o.dasVolumes.push_back(withoutTrailingSlashes(absolutePath(path)));
        } else if (a == "--nas") {
            if (!value(o.nasAddress)) return fail("--nas needs an address");
        } else if (a == "--serial") {
            if (!value(o.serialNumber)) return fail("--serial needs a serial number");
        } else if (a == "--name") {
            if (!value(o.productName)) return fail("--name needs a product name");
        } else if (a == "--user") {
            if (!value(o.user)) return fail("--user needs a name");
        } else if (a == "--password-stdin") {
            o.passwordFromStdin = true;
        } else if (a == "--destination") {
            if (!value(o.destination)) return fail("--destination needs SHARE/FOLDER");
        } else if (a == "--move") {
            o.move = true;
        } else if (a == "--resume") {
            o.resume = true;
        } else if (a == "--replace-interrupted") {
            o.replaceInterrupted = true;
        } else if (a == "--quiet" || a == "-q") {
            o.quiet = true;
        } else if (a == "--json") {
            o.json = true;
            o.quiet = true;
        } else if (a == "--help" || a == "-h") {
            o.help = true;
        } else if (a == "--version") {
            o.version = true;
        } else {
            return fail("unknown option " + a);
        }
    }
    if (o.help || o.version) return result;

    const int kinds = (o.deviceFile.empty() ? 0 : 1) + (o.dasVolumes.empty() ? 0 : 1) +
                      (o.nasAddress.empty() ? 0 : 1);
    if (kinds == 0) return fail("no device given: use --device FILE, --das PATH or --nas ADDRESS");
    if (kinds > 1) return fail("give only one of --device, --das and --nas");
    if (!o.nasAddress.empty() && o.serialNumber.empty()) return fail("--nas needs --serial");
    if (o.resume && !o.sources.empty()) return fail("--resume takes no sources");
    if (o.resume && o.move)
        return fail(
            "--move cannot be combined with --resume (an upload started with --move goes on "
            "moving)");
    if (o.resume && o.replaceInterrupted)
        return fail("--replace-interrupted cannot be combined with --resume");

    for (std::string& source : o.sources) {
        source = withoutTrailingSlashes(absolutePath(source));
        if (!exists(source)) return fail("no such source: " + source);
    }
    return result;
}

std::string lastComponent(const std::string& path) {
    const std::string p = withoutTrailingSlashes(path);
    if (p == "/") return p;
    const auto slash = p.rfind('/');
    return slash == std::string::npos ? p : p.substr(slash + 1);
}

std::string missingDeviceKey(const Record& device) {
    const Record* info = device.record("deviceInfo");
    if (!info) return "deviceInfo dictionary";
    if (device.string("deviceType") == "NAS") {
        if (info->string("ipAddress").empty()) return "deviceInfo ipAddress";
        // A network device is known by its serial number: its record in the state file, its
        // account in the keychain and its answer to a reachability check all go by it.
        if (info->string("serialNumber").empty()) return "deviceInfo serialNumber";
        return "";
    }
    // An attached device is its volumes: without one that names itself there is nothing to
    // upload to, and the destination would wait for volumes that cannot come.
    const List* volumes = info->list("volumeArray");
    bool named = false;
    if (volumes)
        for (const Value& v : *volumes)
            if (const Record* volume = v.asRecord();
                volume && !volume->string("volumeName").empty())
                named = true;
    return named ? "" : "deviceInfo volumeArray with a named volume";
}

namespace {

// A disk's volumes that a record names without their file system's UUID get it here, read once:
// the UUID is what tells this disk's recorded upload from another disk's. A file system
// without one gives "".
Record withVolumeUuids(Record device) {
    const Record* info = device.record("deviceInfo");
    const List* volumes = info ? info->list("volumeArray") : nullptr;
    if (device.string("deviceType") != "DAS" || !volumes) return device;
    List filled;
    for (const Value& v : *volumes) {
        const Record* volume = v.asRecord();
        if (!volume || !volume->string("uuid").empty() || volume->string("volumePath").empty()) {
            filled.push_back(v);
            continue;
        }
        Record named = *volume;
        named.set("uuid", platform::files().volumeFacts(named.string("volumePath")).uuid);
        filled.push_back(named);
    }
    Record newInfo = *info;
    newInfo.set("volumeArray", filled);
    device.set("deviceInfo", newInfo);
    return device;
}

std::optional<Record> recordFromOptions(const Options& o, std::string& error) {
    if (!o.deviceFile.empty()) {
        const auto value = platform::readPropertyList(o.deviceFile);
        const Record* record = value ? value->asRecord() : nullptr;
        if (!record) {
            error = "cannot read a device record from " + o.deviceFile;
            return std::nullopt;
        }
        const std::string type = record->string("deviceType");
        if (type != "NAS" && type != "DAS") {
            error = "the device record in " + o.deviceFile + " has no deviceType NAS or DAS";
            return std::nullopt;
        }
        if (const std::string missing = missingDeviceKey(*record); !missing.empty()) {
            error = "the device record in " + o.deviceFile + " has no " + missing;
            return std::nullopt;
        }
        return *record;
    }
    if (!o.dasVolumes.empty()) {
        List volumes;
        int n = 1;
        for (const std::string& path : o.dasVolumes) {
            struct stat st {};
            if (stat(path.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) {
                error = "no such volume folder: " + path;
                return std::nullopt;
            }
            volumes.push_back(Record{{"volumeName", lastComponent(path)},
                                     {"volumePath", path},
                                     {"bsdName", "local" + std::to_string(n++)},
                                     {"mounted", true},
                                     {"uuid", ""}});
        }
        Record info{
            {"productName", o.productName.empty() ? consoleText("LOCAL_DRIVE") : o.productName},
            {"serialNumber", o.serialNumber.empty() ? "LOCAL-DRIVE" : o.serialNumber},
            {"volumeArray", volumes}};
        return Record{{"deviceType", "DAS"}, {"isZeroState", false}, {"deviceInfo", info}};
    }
    const std::string name = o.productName.empty() ? o.nasAddress : o.productName;
    Record info{{"productName", name},
                {"ipAddress", o.nasAddress},
                {"hostName", name},
                {"serialNumber", o.serialNumber},
                {"volumeArray", List{}}};
    return Record{{"deviceType", "NAS"}, {"isZeroState", false}, {"deviceInfo", info}};
}

}  // namespace

std::optional<Record> deviceRecordFor(const Options& o, std::string& error) {
    auto record = recordFromOptions(o, error);
    if (record) record = withVolumeUuids(std::move(*record));
    return record;
}

std::string firstFolderNotMounted(const std::vector<std::string>& folders,
                                  const std::vector<std::string>& mountPoints) {
    for (const std::string& folder : folders)
        if (std::find(mountPoints.begin(), mountPoints.end(), folder) == mountPoints.end())
            return folder;
    return "";
}

}  // namespace qvt::cli
