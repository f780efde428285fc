#include "platform/smb_client.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/smb_names.h"
#include "platform/smb_url.h"

namespace qvt::platform::smb {

namespace {

std::atomic<int> gTimeoutMs{20000};
// When the last request timed out, in steady-clock milliseconds; 0 after an answer.
std::atomic<std::int64_t> gSilentSinceMs{0};

std::int64_t steadyMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// A fair, per-thread re-entrant lock: tickets are served in the order they were drawn.
class FairLock {
  public:
    void lock() {
        std::unique_lock l(mutex_);
        const auto self = std::this_thread::get_id();
        if (depth_ > 0 && owner_ == self) {
            ++depth_;
            return;
        }
        const std::uint64_t ticket = next_++;
        cv_.wait(l, [&] { return serving_ == ticket; });
        owner_ = self;
        depth_ = 1;
    }
    void unlock() {
        std::lock_guard l(mutex_);
        if (--depth_ > 0) return;
        owner_ = std::thread::id();
        ++serving_;
        cv_.notify_all();
    }

  private:
    std::mutex mutex_;
    std::condition_variable cv_;
    std::uint64_t next_ = 0;
    std::uint64_t serving_ = 0;
    std::thread::id owner_;
    int depth_ = 0;
};

// Never destroyed: a worker thread may still give its SMB context back while the process's
// static objects are being destroyed at exit.
FairLock& libraryLock() {
    static FairLock* const lock = new FairLock;
    return *lock;
}
thread_local const Credentials* tCredentials = nullptr;
thread_local int tOpenCalls = 0;

void authenticate(SMBCCTX*, const char*, const char*, char* workgroup, int workgroupLen, char* user,
                  int userLen, char* password, int passwordLen) {
    (void)workgroup;
    (void)workgroupLen;
    const Credentials* c = tCredentials;
    const bool guest = c == nullptr || c->guest;
    // An empty account is an anonymous session, which the server maps to its guest account.
    std::snprintf(user, static_cast<std::size_t>(userLen), "%s", guest ? "" : c->user.c_str());
    std::snprintf(password, static_cast<std::size_t>(passwordLen), "%s",
                  guest ? "" : c->password.c_str());
}

struct ThreadContext {
    SMBCCTX* ctx = nullptr;
    int port = 0;
    int timeoutMs = 0;
    ~ThreadContext() { release(); }
    void release() {
        if (!ctx) return;
        libraryLock().lock();
        smbc_free_context(ctx, 1);
        libraryLock().unlock();
        ctx = nullptr;
    }
};

thread_local ThreadContext tContext;

SMBCCTX* newContext(int port, int timeout) {
    SMBCCTX* ctx = smbc_new_context();
    if (!ctx) return nullptr;
    smbc_setDebug(ctx, 0);
    smbc_setPort(ctx, static_cast<uint16_t>(port));
    smbc_setTimeout(ctx, timeout);
    smbc_setOptionUseKerberos(ctx, 0);
    smbc_setOptionFallbackAfterKerberos(ctx, 1);
    smbc_setFunctionAuthDataWithContext(ctx, authenticate);
    if (!smbc_init_context(ctx)) {
        smbc_free_context(ctx, 1);
        return nullptr;
    }
    return ctx;
}

SMBCCTX* threadContext() {
    const int port = smbPort();
    const int timeout = gTimeoutMs.load();
    if (tContext.ctx && tContext.port == port && tContext.timeoutMs == timeout) return tContext.ctx;
    tContext.release();
    // Contexts are made one at a time (the caller holds the library lock): their set-up reads
    // the client configuration and touches library-wide state.
    SMBCCTX* ctx = newContext(port, timeout);
    if (!ctx) return nullptr;
    tContext.ctx = ctx;
    tContext.port = port;
    tContext.timeoutMs = timeout;
    return ctx;
}

}  // namespace

int smbPort() {
    const char* env = std::getenv("QVTRANSFER_SMB_PORT");
    if (env && *env) {
        char* end = nullptr;
        const long v = std::strtol(env, &end, 10);
        if (end && *end == '\0' && v > 0 && v < 65536) return static_cast<int>(v);
    }
    return 445;
}

void setTimeoutMs(int ms) {
    gTimeoutMs = ms > 0 ? ms : 20000;
}

void noteRequestResult(int rc) {
    if (rc == ETIMEDOUT)
        gSilentSinceMs = std::max<std::int64_t>(steadyMs(), 1);
    else if (!isConnectionLoss(rc))
        gSilentSinceMs = 0;
}

bool serverSilentLately() {
    const std::int64_t since = gSilentSinceMs.load();
    return since != 0 && steadyMs() - since < gTimeoutMs.load();
}

void releaseThreadContext() {
    tContext.release();
}

bool isConnectionLoss(int error) {
    // libsmbclient reports some failures of a dead connection as a plain I/O error.
    return error == ECONNABORTED || error == ECONNRESET || error == EPIPE || error == ENOTCONN ||
           error == EIO;
}

bool Call::open() {
    return tOpenCalls > 0;
}

Call::Call(const Credentials& credentials, bool fresh) {
    libraryLock().lock();
    ++tOpenCalls;
    previous_ = tCredentials;
    tCredentials = &credentials;
    if (fresh) {
        ctx_ = newContext(smbPort(), gTimeoutMs.load());
        owned_ = ctx_ != nullptr;
    } else {
        ctx_ = threadContext();
    }
}

Call::~Call() {
    if (owned_) smbc_free_context(ctx_, 1);
    tCredentials = previous_;
    --tOpenCalls;
    libraryLock().unlock();
}

std::string url(const std::string& host, const std::string& share, const std::string& relative) {
    // Appended piece by piece ("/" + text is taken by GCC 12 at -O3 for an overlapping copy,
    // a false -Wrestrict).
    std::string u = "smb://";
    if (host.find(':') != std::string::npos) {
        u += '[';
        u += host;
        u += ']';
    } else {
        u += host;
    }
    u += '/';
    u += escapeUrlComponent(share);
    std::size_t start = 0;
    while (start < relative.size()) {
        auto end = relative.find('/', start);
        if (end == std::string::npos) end = relative.size();
        if (end > start) {
            u += '/';
            // Each name as the share can hold it (its refused characters mapped).
            u += escapeUrlComponent(toShareName(relative.substr(start, end - start)));
        }
        start = end + 1;
    }
    return u;
}

}  // namespace qvt::platform::smb
