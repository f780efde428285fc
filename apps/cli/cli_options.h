// The console uploader's command line: what to upload, where to, and for which device.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "qvtransfer/Value.h"

namespace qvt::cli {

// Exit codes of the console uploader.
inline constexpr int kExitAllArrived = 0;
inline constexpr int kExitSomeFailed = 1;  // also: the upload could not be done at all
inline constexpr int kExitBadArguments = 2;
inline constexpr int kExitStopped = 130;

struct Options {
    // The device: a property-list record, or one built from flags.
    std::string deviceFile;
    std::vector<std::string> dasVolumes;
    std::string nasAddress;
    std::string serialNumber;
    std::string productName;

    std::string user;
    bool passwordFromStdin = false;
    // "SHARE/FOLDER" (a share or volume name, then folders below it), or an absolute folder.
    std::string destination;
    bool move = false;
    bool resume = false;
    // A new upload may take the place of one that did not finish and is recorded for this
    // device; without it such an upload is kept and the new one refused.
    bool replaceInterrupted = false;
    // Only errors, questions and the end's failed list and last line are printed.
    bool quiet = false;
    // Events as JSON objects, one per line on stdout, for scripts (and nothing else there).
    bool json = false;
    // Absolute paths of the files and folders to upload, in the order given.
    std::vector<std::string> sources;

    bool help = false;
    bool version = false;
};

struct ParseResult {
    Options options;
    // Empty when the command line is usable.
    std::string error;
};

const char* usageText();

// Reads the arguments (argv[1] onwards). Relative source paths are made absolute against the
// working folder; every source must exist.
ParseResult parseArguments(const std::vector<std::string>& arguments);

// The key a device record read from a file lacks for an upload to be possible, as a phrase
// ("deviceInfo ipAddress"), or "" when it has every one.
std::string missingDeviceKey(const Record& device);

// The device record the options describe, or nothing with a reason in `error`.
std::optional<Record> deviceRecordFor(const Options& options, std::string& error);

// The first of `folders` that is not one of `mountPoints`, or "" when each one is. A drive's
// volume is a mounted file system: the wizard waits for a volume to show among the mounts, so a
// plain folder given as one would keep it waiting for ever.

std::string firstFolderNotMounted(const std::vector<std::string>& folders,
                                  const std::vector<std::string>& mountPoints);

// The last path component ("/" for the root), without trailing slashes.
std::string lastComponent(const std::string& path);

}  // namespace qvt::cli
