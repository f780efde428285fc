// Copying one file's bytes. Local to local uses the kernel's in-place copy; anything that
// touches a share streams through large SMB reads and writes. In both cases the destination
// grows while the copy runs, so a reader of its size sees the progress.
#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "platform/files_internal.h"
#include "platform/paths.h"
#include "platform/smb_names.h"

namespace qvt::platform::detail {

namespace {

// copy_file_range and sendfile chunks: large enough to run at the kernel's speed, small enough
// that the destination's size moves often.
constexpr std::size_t kKernelChunk = 32u << 20;
// Buffer for read/write copies and SMB transfers. Each SMB write has one request in flight,
// so the request size is what sets the speed.
constexpr std::size_t kStreamChunk = 8u << 20;

thread_local const CopyGate* tGate = nullptr;

// The files on shares being written now, by path, with the bytes written so far.
std::mutex gWritingMutex;
std::map<std::string, std::uint64_t> gWriting;

void noteShareWrite(const std::string& path, std::uint64_t bytes) {
    const std::lock_guard lock(gWritingMutex);
    gWriting[path] = bytes;
}

void forgetShareWrite(const std::string& path) {
    const std::lock_guard lock(gWritingMutex);
    gWriting.erase(path);
}

int errnoOr(int fallback) {
    return errno != 0 ? errno : fallback;
}

struct Fd {
    int fd = -1;
    ~Fd() {
        if (fd >= 0) close(fd);
    }
};

int writeAll(int fd, const char* data, std::size_t n) {
    while (n > 0) {
        const ssize_t w = write(fd, data, n);
        if (w < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        data += w;
        n -= static_cast<std::size_t>(w);
    }
    return 0;
}

bool isUnsupported(int e) {
    return e == EXDEV || e == ENOSYS || e == EINVAL || e == EOPNOTSUPP || e == EBADF;
}

// Opens a local source for reading without waiting on it: opening a FIFO (or reading it, or a
// device node) waits until something else acts, maybe never. Only a regular file is read;
// anything else is kNotARegularFile. A file under another program's lease is waited for at
// most the kernel's lease-break time. `known` says `st` holds a stat of `path` taken just before.
int openLocalSource(const std::string& path, int* fd, struct stat* st, bool known = false) {
    // A socket cannot be opened at all; the type is told before anything is opened.
    if ((known || ::stat(path.c_str(), st) == 0) && !S_ISREG(st->st_mode) && !S_ISDIR(st->st_mode))
        return kNotARegularFile;
    int f = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (f < 0 && errno == EWOULDBLOCK) f = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (f < 0) return errno;
    int rc = 0;
    if (fstat(f, st) != 0)
        rc = errno;
    else if (S_ISDIR(st->st_mode))
        rc = EISDIR;
    else if (!S_ISREG(st->st_mode))
        rc = kNotARegularFile;
    else if (const int flags = fcntl(f, F_GETFL);
             flags < 0 || fcntl(f, F_SETFL, flags & ~O_NONBLOCK) != 0)
        rc = errno;
    if (rc != 0) {
        close(f);
        return rc;
    }
    *fd = f;
    return 0;
}

// What this thread knows of its last copy; an empty path knows nothing.
struct LastCopy {
    // The file it wrote in full, and its size.
    std::string writtenPath;
    std::uint64_t writtenSize = 0;
    // The local file it read, and its size when the copy ended.
    std::string readPath;
    std::uint64_t readSize = 0;
    // The item found there just before, with its attributes, until the copy takes them.
    std::string foundPath;
    struct stat foundStat {};
};
thread_local LastCopy tLast;

int copyLocal(const std::string& from, const std::string& to, const struct stat* source) {
    Fd in;
    struct stat st {};
    if (source) st = *source;
    if (const int rc = openLocalSource(from, &in.fd, &st, source != nullptr)) return rc;
    Fd out;
    out.fd = open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, st.st_mode & 07777);
    if (out.fd < 0) return errno;

    enum class Way { CopyRange, SendFile, ReadWrite };
    // Between two file systems the in-place copy is refused up front. An upload's files go from
    // one source volume into the same folders, so after a refusal it is not asked again for
    // each file of that folder; should the guess be wrong, sendfile copies all the same.
    thread_local struct {
        dev_t from = 0;
        std::string folder;
    } tNoCopyRange;
    const std::string folder = to.substr(0, to.rfind('/') + 1);
    Way way = tNoCopyRange.from == st.st_dev && tNoCopyRange.folder == folder ? Way::SendFile
                                                                              : Way::CopyRange;
    std::uint64_t copied = 0;
    std::vector<char> buffer;
    while (true) {
        ssize_t n = 0;
        if (way == Way::CopyRange) {
            n = copy_file_range(in.fd, nullptr, out.fd, nullptr, kKernelChunk, 0);
            if (n < 0 && errno == EINTR) continue;
            if (n < 0 && copied == 0 && isUnsupported(errno)) {
                tNoCopyRange.from = st.st_dev;
                tNoCopyRange.folder = folder;
                way = Way::SendFile;
                continue;
            }
        } else if (way == Way::SendFile) {
            n = sendfile(out.fd, in.fd, nullptr, kKernelChunk);
            if (n < 0 && errno == EINTR) continue;
            if (n < 0 && copied == 0 && isUnsupported(errno)) {
                way = Way::ReadWrite;
                continue;
            }
        } else {
            if (buffer.empty()) buffer.resize(kStreamChunk);
            n = read(in.fd, buffer.data(), buffer.size());
            if (n < 0 && errno == EINTR) continue;
            if (n > 0) {
                if (const int rc = writeAll(out.fd, buffer.data(), static_cast<std::size_t>(n)))
                    return rc;
            }
        }
        if (n < 0) return errno;
        if (n == 0) break;
        copied += static_cast<std::uint64_t>(n);
        // Asked only while some of the file is still to come: a file written whole is done.
        if (copied < static_cast<std::uint64_t>(st.st_size) && !goOnCopying(copied))
            return ECANCELED;
    }
    // What the file holds, asked of its open descriptor (no path walk): a file system that
    // took the writes and keeps less is a failed copy, not a whole one.
    struct stat written {};
    if (fstat(out.fd, &written) != 0) return errno;
    if (static_cast<std::uint64_t>(written.st_size) != copied) return EIO;
    // The mode the file was created with, unless the umask took bits away from it.
    if ((written.st_mode & 07777) != (st.st_mode & 07777)) fchmod(out.fd, st.st_mode & 07777);
    const timespec times[2] = {st.st_atim, st.st_mtim};
    futimens(out.fd, times);
    const int fd = out.fd;
    out.fd = -1;
    if (close(fd) != 0) return errno;
    rememberWrittenFile(to, copied);
    struct stat read {};
    if (fstat(in.fd, &read) == 0) rememberReadFile(from, static_cast<std::uint64_t>(read.st_size));
    return 0;
}

// One end of a streamed copy: a local file or a file on a share. Each SMB request takes the
// library lock on its own, so other threads' requests get their turn between two writes.
class End {
  public:
    explicit End(const std::string& path) : share_(shareMounts().resolve(path)), path_(path) {}
    ~End() { closeNow(); }

    int open(bool forWriting, mode_t mode) {
        errno = 0;
        if (!share_) {
            if (!forWriting) {
                struct stat st {};
                return openLocalSource(path_, &fd_, &st);
            }
            fd_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
            return fd_ >= 0 ? 0 : errno;
        }
        const std::string u = share_->url();
        const int flags = forWriting ? (O_WRONLY | O_CREAT | O_EXCL) : O_RDONLY;
        // Known from before its creation: the estimate asking for the file's size meanwhile
        // would otherwise wait for the library behind the creation.
        if (forWriting) noteShareWrite(path_, 0);
        const int rc = smb::retryOnConnectionLoss([&] {
            const smb::Call call(share_->mount.credentials);
            if (!call.ctx()) return EIO;
            errno = 0;
            file_ = smbc_getFunctionOpen(call.ctx())(call.ctx(), u.c_str(), flags, mode);
            return file_ ? 0 : errnoOr(EIO);
        });
        writing_ = rc == 0 && forWriting;
        if (forWriting && !writing_) forgetShareWrite(path_);
        return rc;
    }

    ssize_t read(char* buf, std::size_t n) {
        errno = 0;
        if (!share_) return ::read(fd_, buf, n);
        const smb::Call call(share_->mount.credentials);
        if (!call.ctx()) {
            errno = EIO;
            return -1;
        }
        return smbc_getFunctionRead(call.ctx())(call.ctx(), file_, buf, n);
    }

    int writeAll(const char* data, std::size_t n) {
        if (!share_) return detail::writeAll(fd_, data, n);
        while (n > 0) {
            ssize_t w;
            {
                const smb::Call call(share_->mount.credentials);
                if (!call.ctx()) return EIO;
                errno = 0;
                w = smbc_getFunctionWrite(call.ctx())(call.ctx(), file_, data, n);
                if (w < 0) {
                    const int rc = errnoOr(EIO);
                    smb::noteRequestResult(rc);
                    return rc;
                }
            }
            if (w == 0) return EIO;
            data += w;
            n -= static_cast<std::size_t>(w);
            written_ += static_cast<std::uint64_t>(w);
            noteShareWrite(path_, written_);
        }
        return 0;
    }

    // The size of a local file as its open descriptor tells it now.
    std::optional<std::uint64_t> localSize() const {
        struct stat st {};
        if (share_ || fd_ < 0 || fstat(fd_, &st) != 0) return std::nullopt;
        return static_cast<std::uint64_t>(st.st_size);
    }

    int closeNow() {
        int rc = 0;
        errno = 0;
        if (fd_ >= 0 && ::close(fd_) != 0) rc = errno;
        fd_ = -1;
        if (file_) {
            const smb::Call call(share_->mount.credentials);
            if (!call.ctx() || smbc_getFunctionClose(call.ctx())(call.ctx(), file_) != 0)
                rc = errnoOr(EIO);
            smb::noteRequestResult(rc);
        }
        file_ = nullptr;
        if (writing_) forgetShareWrite(path_);
        writing_ = false;
        return rc;
    }

    // Gives a closed file on a share the source's times. The server stamps a file with the
    // time of its last write when it is closed, and a photo's date would be the upload's day;
    // a share that refuses still holds the whole file, so a refusal is not a failed copy.
    void keepTimesOf(const struct stat& source) {
        if (!share_) return;
        struct timeval times[2] = {
            {source.st_atim.tv_sec, static_cast<suseconds_t>(source.st_atim.tv_nsec / 1000)},
            {source.st_mtim.tv_sec, static_cast<suseconds_t>(source.st_mtim.tv_nsec / 1000)}};
        if (smb::serverSilentLately()) return;
        const smb::Call call(share_->mount.credentials);
        if (!call.ctx()) return;
        errno = 0;
        // A refusal is no failure of the copy, but a server that no longer answers is told: the
        // steps after this one then learn at once that it is away.
        if (smbc_getFunctionUtimes(call.ctx())(call.ctx(), share_->url().c_str(), times) != 0)
            smb::noteRequestResult(errnoOr(EIO));
    }

  private:
    std::optional<SharePath> share_;
    std::string path_;
    int fd_ = -1;
    SMBCFILE* file_ = nullptr;
    bool writing_ = false;  // a file on a share, open for writing
    std::uint64_t written_ = 0;
};

// The buffer for a streamed copy of a file of `size` bytes: one byte more than the file, so the
// read that meets the end comes after a single full request, and never more than the largest
// write. A small file gets a small buffer, and none is zeroed first: a folder of thousands of
// small files would otherwise clear megabytes per file.
std::size_t streamBufferSize(std::uint64_t size) {
    constexpr std::size_t kSmallest = 64u << 10;
    if (size >= kStreamChunk) return kStreamChunk;
    return std::max(kSmallest, static_cast<std::size_t>(size) + 1);
}

int copyStreamed(const std::string& from, const std::string& to, const struct stat& source) {
    const mode_t mode = (source.st_mode & 0777) ? (source.st_mode & 0777) : 0644;
    End in(from);
    if (const int rc = in.open(false, 0)) return rc;
    End out(to);
    if (const int rc = out.open(true, mode)) return rc;
    const std::size_t capacity = streamBufferSize(static_cast<std::uint64_t>(source.st_size));
    const auto storage = std::make_unique_for_overwrite<char[]>(capacity);
    const std::span<char> buffer(storage.get(), capacity);
    std::uint64_t written = 0;
    while (true) {
        // Fill the whole buffer so every write to a share is one large request.
        std::size_t filled = 0;
        bool eof = false;
        while (filled < buffer.size()) {
            const ssize_t n = in.read(buffer.data() + filled, buffer.size() - filled);
            if (n < 0) {
                if (errno == EINTR) continue;
                return errnoOr(EIO);
            }
            if (n == 0) {
                eof = true;
                break;
            }
            filled += static_cast<std::size_t>(n);
        }
        if (filled > 0) {
            if (const int rc = out.writeAll(buffer.data(), filled)) return rc;
            written += filled;
        }
        if (eof) break;
        if (!goOnCopying(written)) return ECANCELED;
    }
    const auto readSize = in.localSize();
    if (const int rc = in.closeNow()) return rc;
    if (const int rc = out.closeNow()) return rc;
    out.keepTimesOf(source);
    rememberWrittenFile(to, written);
    if (readSize) rememberReadFile(from, *readSize);
    return 0;
}

}  // namespace

bool goOnCopying(std::uint64_t written) {
    return !tGate || tGate->goOn(written);
}

void rememberWrittenFile(const std::string& path, std::uint64_t size) {
    tLast.writtenPath = path;
    tLast.writtenSize = size;
}

void rememberReadFile(const std::string& path, std::uint64_t size) {
    tLast.readPath = path;
    tLast.readSize = size;
}

void forgetLastCopy() {
    // Cleared, not replaced: the strings keep their room for the next file's paths.
    tLast.writtenPath.clear();
    tLast.readPath.clear();
    tLast.foundPath.clear();
}

std::optional<std::uint64_t> shareFileBeingWrittenSize(const std::string& path) {
    const std::lock_guard lock(gWritingMutex);
    const auto found = gWriting.find(path);
    if (found == gWriting.end()) return std::nullopt;
    return found->second;
}

std::optional<std::uint64_t> writtenFileSize(const std::string& path) {
    if (path.empty()) return std::nullopt;
    if (path == tLast.writtenPath) return tLast.writtenSize;
    // The source's size serves the question right after its copy (is the copy whole) once; a
    // later one, after a wait for a lost device perhaps, asks the file as it is then.
    if (path == tLast.readPath) {
        tLast.readPath.clear();
        return tLast.readSize;
    }
    return std::nullopt;
}

void rememberFoundItem(const std::string& path, const struct stat& st) {
    tLast.foundPath = path;
    tLast.foundStat = st;
}

bool takeFoundItem(const std::string& path, struct stat* st) {
    if (path.empty() || path != tLast.foundPath) return false;
    *st = tLast.foundStat;
    tLast.foundPath.clear();
    return true;
}

namespace {

// Whether `known` is `path` or lies below it.
bool isAtOrBelow(const std::string& known, const std::string& path) {
    return !path.empty() && !known.empty() && isUnder(known, path);
}

}  // namespace

void lastCopyRenamed(const std::string& from, const std::string& to) {
    if (isAtOrBelow(tLast.writtenPath, from))
        tLast.writtenPath = to + tLast.writtenPath.substr(from.size());
    if (isAtOrBelow(tLast.readPath, from)) tLast.readPath = to + tLast.readPath.substr(from.size());
    if (isAtOrBelow(tLast.foundPath, from)) tLast.foundPath.clear();
}

void lastCopyRemoved(const std::string& path) {
    for (std::string* known : {&tLast.writtenPath, &tLast.readPath, &tLast.foundPath})
        if (isAtOrBelow(*known, path)) known->clear();
}

int copyFileData(const std::string& from, const std::string& to, const struct stat* source) {
    // What this thread knew of its last file ends where it sets out to write another, whether
    // or not that one is written.
    forgetLastCopy();
    const auto toShare = shareMounts().resolve(to);
    const bool local = !shareMounts().resolve(from) && !toShare;
    if (local) return copyLocal(from, to, source);
    // A share's names travel as UTF-16: a name that is no UTF-8 has no name there.
    if (toShare && !smb::isValidUtf8(toShare->relative)) return kNameNotUtf8;
    struct stat st {};
    if (source)
        st = *source;
    else if (const int rc = statPath(from, &st))
        return rc;
    if (S_ISDIR(st.st_mode)) return EISDIR;
    return copyStreamed(from, to, st);
}

}  // namespace qvt::platform::detail

namespace qvt::platform {

CopyGate::CopyGate(std::function<bool(std::uint64_t)> goOn)
    : goOn_(std::move(goOn)), outer_(detail::tGate) {
    detail::tGate = this;
}

CopyGate::~CopyGate() {
    detail::tGate = outer_;
}

}  // namespace qvt::platform
