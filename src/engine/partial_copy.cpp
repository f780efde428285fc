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

std::uint32_t newPartialCopyTag() {
    std::random_device random;
    std::uint32_t tag = 0;
    while (tag == 0) tag = random();
    return tag;
}

std::string partialCopyTagText(std::uint32_t tag) {
    char text[9];
    std::snprintf(text, sizeof text, "%08x", static_cast<unsigned>(tag));
    return text;
}

std::uint32_t partialCopyTagFrom(const std::string& text) {
    if (text.size() != 8) return 0;
    std::uint32_t tag = 0;
    for (const char ch : text) {
        if (ch >= '0' && ch <= '9')
            tag = tag * 16 + static_cast<std::uint32_t>(ch - '0');
        else if (ch >= 'a' && ch <= 'f')
            tag = tag * 16 + static_cast<std::uint32_t>(ch - 'a' + 10);
        else
            return 0;
    }
    return tag;
}

std::string temporaryPathFor(const std::string& destination, std::uint32_t tag) {
    thread_local std::mt19937 random{std::random_device{}()};
    return appendingPathComponent(deletingLastPathComponent(destination),
                                  std::string(kPrefix) + partialCopyTagText(tag) +
                                      partialCopyTagText(static_cast<std::uint32_t>(random())) +
                                      kSuffix);
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

bool isTemporaryNameOf(const std::string& name, std::uint32_t tag) {
    return tag != 0 && isTemporaryName(name) &&
           name.compare(std::string(kPrefix).size(), 8, partialCopyTagText(tag)) == 0;
}

namespace {

// Removes the hidden copies anywhere below the folder `item`.
void removeLeftoverCopiesBelow(const std::string& item, std::uint32_t tag) {
    auto& files = platform::files();
    std::vector<std::string> folders{item};
    while (!folders.empty()) {
        const std::string current = folders.back();
        folders.pop_back();
        for (const std::string& name : files.listFolder(current)) {
            const std::string path = current + "/" + name;
            if (isTemporaryNameOf(name, tag))
                files.removeItem(path);
            else if (!files.isAlias(path) && files.isFolder(path))
                folders.push_back(path);
        }
    }
}

void removeLeftoverCopiesIn(const std::string& folder, std::uint32_t tag) {
    auto& files = platform::files();
    for (const std::string& name : files.listFolder(folder))
        if (isTemporaryNameOf(name, tag)) files.removeItem(folder + "/" + name);
}

}  // namespace

void removeLeftoverCopiesOf(const List& pendingSources, const std::string& destination,
                            std::uint32_t tag) {
    if (tag == 0) return;
    // The destination folder is listed once, not once per source: thousands of files given
    // one by one would list a folder of thousands of names thousands of times.
    removeLeftoverCopiesIn(destination, tag);
    for (const Value& row : pendingSources) {
        const Record* r = row.asRecord();
        if (!r) continue;
        const std::string name = lastPathComponent(r->string("fullFilePath"));
        if (name.empty() || name == "." || name == ".." || name == "/") continue;
        // Only a folder source's copy can hold hidden copies below it.
        if (source::countedWithoutFolders(*r)) continue;
        const std::string item = destination + "/" + name;
        if (platform::files().isFolder(item)) removeLeftoverCopiesBelow(item, tag);
    }
}

}  // namespace qvt::engine
