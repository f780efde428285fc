// libsmbclient behind the file layer: one client context per thread (a context is not
// thread-safe), created one at a time, with the credentials of the share being used.
//
// The library also keeps process-wide state that is not safe across threads (its talloc stack
// frames, configuration and debug state; the call that would make them per-thread is not
// exported by the Debian build), so every library call runs under one process-wide lock. The
// lock is fair (first come, first served) and held for a single request only, never across a
// whole copy, so a watcher's status request waits at most for one large write.
#pragma once

#include <libsmbclient.h>

#include <cerrno>

#include <string>

namespace qvt::platform::smb {

struct Credentials {
    bool guest = true;  // connect without an account
    std::string user;
    std::string password;
};

// The SMB port: QVTRANSFER_SMB_PORT when set to a port number, else 445.
int smbPort();
// How long one SMB request may take, in milliseconds (default 20 s).
void setTimeoutMs(int ms);
// Frees the calling thread's client context and its connections, if it has one.
void releaseThreadContext();

// What the last request of any thread told of the servers: `rc` ETIMEDOUT (the server did
// not answer within the time-out) or an answer (anything else but a dropped connection).
void noteRequestResult(int rc);
// True while the last request timed out and less than one time-out has passed since. Requests
// then fail at once with ETIMEDOUT, and the question whether a share is still there is
// answered no: asked of a server that does not answer, each would wait out the time-out again,
// then the check of the connection and its teardown, a minute and more before the user hears
// that the device is away.
bool serverSilentLately();

// True for the errors of a connection that the server dropped: a connection this thread keeps
// may be one to a server that went away and has come back since.
bool isConnectionLoss(int error);

// Runs `request` (which makes its own Call and returns 0 or an errno value); when it fails on
// a dropped connection, the thread's cached connections are let go and it runs once more on
// new ones. A request made inside another one (a Call already open on this thread) is not run
// again here: its outermost request is.
template <class Request>
int retryOnConnectionLoss(Request request);

// One SMB call's context: the calling thread's client context, answering authentication
// requests with `credentials` while this object lives.
class Call {
  public:
    // `fresh`: a context of its own for this call, with no cached connections, so the
    // credentials are really checked by the server (a mount must not pass on the strength
    // of an earlier connection with other credentials).
    explicit Call(const Credentials& credentials, bool fresh = false);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    // The thread's context, or nullptr when libsmbclient could not be set up.
    SMBCCTX* ctx() const { return ctx_; }
    // True when a Call is open on this thread.
    static bool open();

  private:
    SMBCCTX* ctx_ = nullptr;
    bool owned_ = false;
    const Credentials* previous_ = nullptr;
};
// Calls may nest on one thread (the lock is re-entrant per thread).

// "smb://host/share/a/b" with every part escaped; `relative` is "" or "a/b".
std::string url(const std::string& host, const std::string& share, const std::string& relative);

template <class Request>
int retryOnConnectionLoss(Request request) {
    // A server that has just let a request time out is not asked again until one time-out has
    // passed: each request would wait that long, holding the library for every other thread.
    if (serverSilentLately()) return ETIMEDOUT;
    int rc = request();
    if (isConnectionLoss(rc) && !Call::open()) {
        releaseThreadContext();
        rc = request();
    }
    noteRequestResult(rc);
    return rc;
}

}  // namespace qvt::platform::smb
