#include "engine/partial_copy.h"

#include <cstdio>
#include <random>
#include <vector>

#include "engine/path_names.h"
#include "platform/files.h"
#include "source/source_entry.h"

namespace qvt::engine {

namespace {

constexpr const char* kPrefix = ".qvtransfer-";
constexpr const char* kSuffix = ".part";
constexpr std::size_t kDigits = 16;

}  // namespace

std::string temporaryPathFor(const std::string& destination) {
    thread_local std::mt19937_64 random{std::random_device{}()};
    char digits[kDigits + 1];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(random()));
    return appendingPathComponent(deletingLastPathComponent(destination),
                                  std::string(kPrefix) + digits + kSuffix);
}

bool isTemporaryName(const std::string& name) {
    const std::string prefix = kPrefix;
    const std::string suffix = kSuffix;
    if (name.size() != prefix.size() + kDigits + suffix.size()) return false;
    if (name.compare(0, prefix.size(), prefix) != 0) return false;
    if (name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0) return false;
    for (std::size_t i = prefix.size(); i < prefix.size() + kDigits; ++i) {
        const char ch = name[i];
        if (!((ch >= '0' && ch <= '9') || (ch >= 'a' && ch <= 'f'))) return false;
    }
    return true;
}

namespace {

// Removes the hidden copies anywhere below the folder `item`.
void removeLeftoverCopiesBelow(const std::string& item) {
    auto& files = platform::files();
    std::vector<std::string> folders{item};
    while (!folders.empty()) {
        const std::string current = folders.back();
        folders.pop_back();
        for (const std::string& name : files.listFolder(current)) {
            const std::string path = current + "/" + name;
            if (isTemporaryName(name))
                files.removeItem(path);
            else if (!files.isAlias(path) && files.isFolder(path))
                folders.push_back(path);
        }
    }
}

void removeLeftoverCopiesIn(const std::string& folder) {
    auto& files = platform::files();
    for (const std::string& name : files.listFolder(folder))
        if (isTemporaryName(name)) files.removeItem(folder + "/" + name);
}

}  // namespace

void removeLeftoverCopiesOf(const List& pendingSources, const std::string& destination) {
    // The destination folder is listed once, not once per source: thousands of files given
    // one by one would list a folder of thousands of names thousands of times.
    removeLeftoverCopiesIn(destination);
    for (const Value& row : pendingSources) {
        const Record* r = row.asRecord();
        if (!r) continue;
        const std::string name = lastPathComponent(r->string("fullFilePath"));
        if (name.empty() || name == "." || name == ".." || name == "/") continue;
        // Only a folder source's copy can hold hidden copies below it.
        if (source::countedWithoutFolders(*r)) continue;
        const std::string item = destination + "/" + name;
        if (platform::files().isFolder(item)) removeLeftoverCopiesBelow(item);
    }
}

}  // namespace qvt::engine
