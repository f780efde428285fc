#include "engine/handled_paths.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace qvt {

namespace detail {

// The list's unnamed file. It is read with pread only, so a snapshot reads its part while
// the list writes further on.
struct SpillFile {
    explicit SpillFile(int descriptor) : fd(descriptor) {}
    ~SpillFile() { ::close(fd); }
    SpillFile(const SpillFile&) = delete;
    SpillFile& operator=(const SpillFile&) = delete;
    const int fd;
};

}  // namespace detail

namespace {

// The memory part goes to the file in blocks of this size.
constexpr std::size_t kSpillBlock = 64 * 1024;

// A file no other process can find: unnamed where the file system allows it, otherwise named
// and at once unlinked. Only its owner may read it (it lists the user's files).
std::shared_ptr<detail::SpillFile> openSpillFile(const std::string& folder) {
    if (folder.empty()) return nullptr;
    int fd = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (fd < 0) {
        std::string name = folder + "/.handled-XXXXXX";
        fd = ::mkostemp(name.data(), O_CLOEXEC);
        if (fd < 0) return nullptr;
        ::unlink(name.c_str());
    }
    return std::make_shared<detail::SpillFile>(fd);
}

bool writeAllAt(int fd, std::string_view bytes, std::uint64_t offset) {
    while (!bytes.empty()) {
        const ssize_t n = ::pwrite(fd, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(n));
        offset += static_cast<std::uint64_t>(n);
    }
    return true;
}

// Calls `each` for the NUL-ended entries of `bytes`; the bytes after the last NUL are handed
// back in `rest`. Returns false when `each` stops.
bool splitEntries(std::string_view bytes, const std::function<bool(std::string_view)>& each,
                  std::string& rest) {
    std::size_t start = 0;
    for (;;) {
        const std::size_t end = bytes.find('\0', start);
        if (end == std::string_view::npos) break;
        if (!each(bytes.substr(start, end - start))) return false;
        start = end + 1;
    }
    rest.assign(bytes.substr(start));
    return true;
}

// Reads the first `length` bytes of the file, then the memory part, entry by entry. One
// buffer serves every block: an entry that straddles two blocks keeps its first part at the
// buffer's start and the next block is read in after it.
bool forEachEntry(const detail::SpillFile* file, std::uint64_t length, std::string_view tail,
                  const std::function<bool(std::string_view)>& each) {
    constexpr std::size_t kBlock = 1 << 20;
    std::string buffer;
    std::string rest;
    if (file && length > 0) {
        std::uint64_t offset = 0;
        while (offset < length) {
            const std::size_t want =
                static_cast<std::size_t>(std::min<std::uint64_t>(kBlock, length - offset));
            const std::size_t kept = rest.size();
            if (buffer.size() < kept + want) buffer.resize(kept + want);
            std::copy(rest.begin(), rest.end(), buffer.begin());
            const ssize_t n =
                ::pread(file->fd, buffer.data() + kept, want, static_cast<off_t>(offset));
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) return false;
            offset += static_cast<std::uint64_t>(n);
            const std::string_view bytes(buffer.data(), kept + static_cast<std::size_t>(n));
            if (!splitEntries(bytes, each, rest)) return false;
        }
    }
    // The file holds whole entries only, so nothing is left over here but a broken file.
    if (!rest.empty()) return false;
    return splitEntries(tail, each, rest) && rest.empty();
}

std::uint64_t hashOf(std::string_view path) {
    return std::hash<std::string_view>{}(path);
}

}  // namespace

HandledPaths::HandledPaths() : nextSpillAt_(kSpillBlock) {}
HandledPaths::~HandledPaths() = default;

void HandledPaths::setSpillFolder(const std::string& folder) {
    std::lock_guard lock(mutex_);
    spillFolder_ = folder;
    nextSpillAt_ = kSpillBlock;
    if (tail_.size() >= nextSpillAt_) spillLocked();
}

void HandledPaths::spillLocked() {
    if (spillFolder_.empty()) return;
    if (!file_) {
        file_ = openSpillFile(spillFolder_);
        fileBytes_ = 0;
    }
    if (file_ && writeAllAt(file_->fd, tail_, fileBytes_)) {
        fileBytes_ += tail_.size();
        tail_.clear();
        tail_.shrink_to_fit();
        nextSpillAt_ = kSpillBlock;
        return;
    }
    // No room or no file: the entries stay in memory, nothing is lost.
    nextSpillAt_ = tail_.size() * 2;
}

void HandledPaths::append(const std::string& path) {
    std::lock_guard lock(mutex_);
    tail_.append(path);
    tail_.push_back('\0');
    ++count_;
    if (indexing_) index_.insert(hashOf(path));
    if (tail_.size() >= nextSpillAt_) spillLocked();
}

std::size_t HandledPaths::size() const {
    std::lock_guard lock(mutex_);
    return count_;
}

bool HandledPaths::empty() const {
    return size() == 0;
}

bool HandledPaths::forEachLocked(const std::function<bool(std::string_view)>& each) const {
    return forEachEntry(file_.get(), fileBytes_, tail_, each);
}

bool HandledPaths::contains(const std::string& path) const {
    std::lock_guard lock(mutex_);
    if (count_ == 0) return false;
    if (!indexing_) {
        index_.clear();
        forEachLocked([&](std::string_view entry) {
            index_.insert(hashOf(entry));
            return true;
        });
        indexing_ = true;
    }
    if (!index_.count(hashOf(path))) return false;
    // A hash seen before: the path itself is looked for, as two paths may share a hash.
    bool found = false;
    forEachLocked([&](std::string_view entry) {
        found = entry == path;
        return !found;
    });
    return found;
}

void HandledPaths::set(const std::vector<std::string>& paths) {
    std::lock_guard lock(mutex_);
    // A snapshot taken before keeps the old file; the list starts a file of its own.
    file_ = nullptr;
    fileBytes_ = 0;
    tail_.clear();
    tail_.shrink_to_fit();
    for (const std::string& path : paths) {
        tail_.append(path);
        tail_.push_back('\0');
    }
    count_ = paths.size();
    index_.clear();
    indexing_ = false;
    nextSpillAt_ = kSpillBlock;
    if (tail_.size() >= nextSpillAt_) spillLocked();
}

std::vector<std::string> HandledPaths::get() const {
    std::lock_guard lock(mutex_);
    std::vector<std::string> out;
    out.reserve(count_);
    forEachLocked([&](std::string_view entry) {
        out.emplace_back(entry);
        return true;
    });
    return out;
}

HandledPaths::Snapshot HandledPaths::snapshot() const {
    std::lock_guard lock(mutex_);
    Snapshot s;
    s.file_ = file_;
    s.fileBytes_ = fileBytes_;
    s.tail_ = tail_;
    s.count_ = count_;
    return s;
}

bool HandledPaths::Snapshot::forEach(const std::function<bool(std::string_view)>& each) const {
    return forEachEntry(file_.get(), fileBytes_, tail_, each);
}

}  // namespace qvt
