// libsmbclient, opened the first time a share is used rather than when the program starts.
// Loading it pulls in some seventy libraries: 40 ms and 7 to 8 MB (measured in the console
// uploader) that an upload to an attached disk, or a window that never reaches a share, would
// otherwise pay at every start.
//
// The library's functions that this program calls are defined here under their own names and
// hand each call to the library. They are hidden inside this program (marked so, whatever the
// build's default), so the library's own calls among its functions never come here.
#include <dlfcn.h>
#include <libsmbclient.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/log.h"

namespace {

constexpr const char* kLibrary = "libsmbclient.so.0";

void* libraryHandle() {
    static void* const handle = [] {
        void* h = dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
        if (!h) {
            const char* why = dlerror();
            qvt::platform::SysLog().write(std::string("QVTransfer: cannot load ") + kLibrary +
                                          ": " + (why ? why : "unknown error") + "\n");
        }
        return h;
    }();
    return handle;
}

// The library's function `name`, or nullptr when the library cannot be loaded.
template <class Fn>
Fn optional(const char* name) {
    void* handle = libraryHandle();
    return handle ? reinterpret_cast<Fn>(dlsym(handle, name)) : nullptr;
}

// A function that is called only with a context the library made, so the library is loaded.
template <class Fn>
Fn required(const char* name) {
    const Fn fn = optional<Fn>(name);
    if (!fn) {
        std::fprintf(stderr, "%s lacks %s\n", kLibrary, name);
        std::abort();
    }
    return fn;
}

}  // namespace

#define QVT_OPTIONAL(name) static const auto real = optional<decltype(&::name)>(#name)
#define QVT_REQUIRED(name) static const auto real = required<decltype(&::name)>(#name)

#define QVT_HIDDEN __attribute__((visibility("hidden")))

extern "C" {

QVT_HIDDEN SMBCCTX* smbc_new_context(void) {
    QVT_OPTIONAL(smbc_new_context);
    if (!real) {
        errno = ENOSYS;
        return nullptr;
    }
    return real();
}

QVT_HIDDEN const char* smbc_version(void) {
    QVT_OPTIONAL(smbc_version);
    return real ? real() : "(not available)";
}

QVT_HIDDEN int smbc_free_context(SMBCCTX* context, int shutdown_ctx) {
    QVT_REQUIRED(smbc_free_context);
    return real(context, shutdown_ctx);
}

QVT_HIDDEN SMBCCTX* smbc_init_context(SMBCCTX* context) {
    QVT_REQUIRED(smbc_init_context);
    return real(context);
}

QVT_HIDDEN void smbc_setDebug(SMBCCTX* c, int debug) {
    QVT_REQUIRED(smbc_setDebug);
    real(c, debug);
}

QVT_HIDDEN void smbc_setTimeout(SMBCCTX* c, int timeout) {
    QVT_REQUIRED(smbc_setTimeout);
    real(c, timeout);
}

QVT_HIDDEN void smbc_setPort(SMBCCTX* c, uint16_t port) {
    QVT_REQUIRED(smbc_setPort);
    real(c, port);
}

QVT_HIDDEN void smbc_setOptionUseKerberos(SMBCCTX* c, smbc_bool b) {
    QVT_REQUIRED(smbc_setOptionUseKerberos);
    real(c, b);
}

QVT_HIDDEN void smbc_setOptionFallbackAfterKerberos(SMBCCTX* c, smbc_bool b) {
    QVT_REQUIRED(smbc_setOptionFallbackAfterKerberos);
    real(c, b);
}

QVT_HIDDEN void smbc_setFunctionAuthDataWithContext(SMBCCTX* c,
                                                    smbc_get_auth_data_with_context_fn fn) {
    QVT_REQUIRED(smbc_setFunctionAuthDataWithContext);
    real(c, fn);
}

// The getters of the request functions a context carries.
#define QVT_GETTER(type, name)                                       \
    QVT_HIDDEN smbc_##type##_fn smbc_getFunction##name(SMBCCTX* c) { \
        QVT_REQUIRED(smbc_getFunction##name);                        \
        return real(c);                                              \
    }
QVT_GETTER(open, Open)
QVT_GETTER(read, Read)
QVT_GETTER(write, Write)
QVT_GETTER(unlink, Unlink)
QVT_GETTER(rename, Rename)
QVT_GETTER(stat, Stat)
QVT_GETTER(statvfs, StatVFS)
QVT_GETTER(close, Close)
QVT_GETTER(opendir, Opendir)
QVT_GETTER(closedir, Closedir)
QVT_GETTER(readdir, Readdir)
QVT_GETTER(mkdir, Mkdir)
QVT_GETTER(rmdir, Rmdir)
QVT_GETTER(utimes, Utimes)
#undef QVT_GETTER

}  // extern "C"
